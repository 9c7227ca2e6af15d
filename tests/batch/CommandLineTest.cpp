// What the command line accepts and refuses, before anything is done.
#include <gmock/gmock.h>

#include <sstream>

#include "batch/BatchOptions.h"

namespace vorela {
namespace {

ParsedCommandLine Parse(const std::string& line) {
    std::vector<std::string> words{"vorela-batch"};
    std::istringstream parts(line);
    for (std::string word; std::getline(parts, word, ' ');)
        words.push_back(word);
    std::vector<const char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(word.c_str());
    return ParseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

TEST(CommandLine, TakesEveryOptionInAnyOrder) {
    const auto options =
        Parse(
            "--set Parameters.Period=90 well.dkb LEVEL2 --cycle Window LEVEL1 --cursors 12.5,80 "
            "--level 2 --interval 1 --export a.TXT --json - --set Plot.NPlots=1 --pvlpos "
            "--recreate --follow")
            .options;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->datasets, (std::vector<std::string>{"LEVEL2", "LEVEL1"}));
    EXPECT_TRUE(options->database.starts_with("/"));
    EXPECT_TRUE(options->cycle->window);
    EXPECT_EQ(std::pair(options->cursors->cursor1, options->cursors->cursor2), std::pair(12.5, 80.0));
    EXPECT_EQ(options->level, 2U);
    EXPECT_TRUE(options->JsonToStandardOutput());
    EXPECT_TRUE(options->motorPosition && options->recreate && options->follow && !options->unfiltered);
    ASSERT_EQ(options->settings.size(), 2U);
    EXPECT_EQ(options->settings[1].key, "NPlots");
}

TEST(CommandLine, RefusesWithStatus2AndNamesWhatIsWrong) {
    const auto expectRefusal = [](const std::string& arguments, const std::string& named) {
        testing::internal::CaptureStderr();
        const ParsedCommandLine parsed = Parse(arguments);
        const std::string message = testing::internal::GetCapturedStderr();
        EXPECT_FALSE(parsed.options) << named;
        EXPECT_EQ(parsed.exitStatus, exit_status::badUsage) << named;
        EXPECT_THAT(message, testing::HasSubstr(named));
        EXPECT_LE(std::count(message.begin(), message.end(), '\n'), 5) << message;
    };
    for (const std::string option :
         {"--frobnicate", "--cycle 0", "--cycle 1.5", "--cycle last", "--cursors 20", "--cursors 20,101",
          "--interval x", "--export", "--set Parameters.Period", "--set Period=90", "--set Plot.Y1=5"})
        expectRefusal("a.dkb " + option, option);
    const std::pair<const char*, const char*> cases[] = {
        {"", "DB"},
        {"a.dkb --plot p.bmp", "p.bmp"},
        {"a.dkb --unfiltered --pvlpos", "--pvlpos"},
        {"a.dkb --level -1", "--level"},
        {"a.dkb --export out.xlsx", "out.xlsx"},
        {"a.dkb --export out", ".csv or .txt"},
        {"a.dkb --json ./a.dkb", "a.dkb is read"},
        {"a.csv --export a.csv", "--export"},
        {"a.dkb --settings s.ini --json s.ini", "s.ini is read"},
        {"a.dkb --export x.csv --json ./x.csv", "--json"},
        {"a.dkb --json x.png --plot x.png", "--plot"},
        {"a.dkb  LEVEL1", "empty dataset name"},
        {"a.dkb --set Parameter.Period=90", "\"Parameter\""},
        {"a.dkb --set Version.Version=2", "\"Version\""},
        {"a.dkb --set Parameters.Peroid=90", "\"Peroid\""},
        {"a.dkb --set Parameters.Period=19.9", "Period of test: Out of range"},
        {"a.dkb --set Parameters.Period=", "Period of test: Out of range"},
        {"a.dkb --set Parameters.Period=9O", "Period of test: Out of range"},
        {"a.dkb --set Parameters.FilterN=1.5", "whole number"},
        {"a.dkb --set Parameters.1Porosity=x", "Porosity: Out of range"},
        {"a.dkb --set Parameters.Porosity=1", "\"Porosity\""},
        {"a.dkb --set Parameters.01CT=1", "\"01CT\""},
        {"a.dkb --set Presentation.PresMin=-2000.5", "Pressure Axis"},
        {"a.dkb --set Presentation.Nonsense=1", "\"Nonsense\""},
        {"a.dkb --set Cursors.Cursor1=-1", "Cursor position"},
        {"a.dkb --set Dataset.PresCurve=", "curve name"},
        {"a.dkb --set Dataset.PresCurveNum=abc", "Curve number"}};
    for (const auto& [arguments, named] : cases)
        expectRefusal(arguments, named);
}

TEST(CommandLine, SettingsAreTakenUnderTheRangesOfTheDialogs) {
    for (const std::string text :
         {"Parameters.Period=20", "parameters.period=90", "Parameters.1CycleNo=3", "Parameters.0Porosity=0.2",
          "Parameters.DLen=1000", "Parameters.CasingID=6", "Parameters.B0=1", "Parameters.17Height=3",
          "Presentation.PresMin=-2000", "Presentation.TimeAuto=-1", "Plot.Valve=1", "Cursors.Cursor2=100",
          "Dataset.FlowCurveNum=RTC", "Dataset.PresCurve=A=B"}) {
        const ParsedCommandLine parsed = Parse("a.dkb --set " + text);
        ASSERT_TRUE(parsed.options) << text;
        const SettingValue& setting = parsed.options->settings.at(0);
        EXPECT_EQ(setting.section + "." + setting.key + "=" + setting.value, text);
    }
    EXPECT_EQ(IndexOfKey("12Height"), 12U);
    EXPECT_FALSE(IndexOfKey("Period"));
}

}  // namespace
}  // namespace vorela
