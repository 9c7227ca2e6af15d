// Names and units above the rows of a table.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "dravik/exchange/Head.h"
#include "dravik/exchange/Units.h"

namespace dravik {

struct Header {
    std::size_t namesLine = 0;            ///< line of the file; 0: no names
    std::vector<std::string> captions;    ///< as written, one a column; empty where there is none
    std::vector<std::string> looseUnits;  ///< "line 4: UNIT: kPa", of a preamble, that name no column
    std::string beyond;                   ///< a caption behind those of all columns
    std::vector<NameAndUnit> names;       ///< COLn where there is none
    std::vector<std::vector<std::string>>
        lines;  ///< cells of names and units lines, to know them when they come again
};

/// `namesLine`: the line that the user states holds the names; 0: found.
Header FindHeader(const SeparatedHead& head, const TableShape& table, std::size_t namesLine);

}  // namespace dravik
