#include "tests/support/CommaLocale.h"

#include <clocale>
#include <cstdlib>

namespace vorela::test {

// Made here, for a machine need not have any such language.
CommaLocale::CommaLocale() {
    const std::string source = folder_.File("source");
    WriteAll(source, "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\ngrouping 3;3\nEND LC_NUMERIC\n");
    Run("localedef -c -i '" + source + "' '" + folder_.File("comma") + "'");
    setenv("LOCPATH", folder_.Path().c_str(), 1);
    EXPECT_NE(std::setlocale(LC_NUMERIC, "comma"), nullptr);
    unsetenv("LOCPATH");
    EXPECT_EQ(std::strtod("1,5", nullptr), 1.5);
}

CommaLocale::~CommaLocale() {
    std::setlocale(LC_NUMERIC, "C");
}

}  // namespace vorela::test
