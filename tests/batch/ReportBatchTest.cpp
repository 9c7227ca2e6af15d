// The report as a user of vorela-batch gets it: its numbers are those of the JSON document.
#include <cmath>
#include <nlohmann/json.hpp>

#include "general/NumberText.h"
#include "tests/support/ProgramTest.h"

namespace vorela::test {
namespace {

using Json = nlohmann::json;
using Rows = std::vector<std::vector<std::string>>;

std::string Unescaped(std::string text) {
    const std::pair<const char*, const char*> names[] = {
        {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&amp;", "&"}};
    for (const auto& [escaped, plain] : names)
        for (std::size_t at = text.find(escaped); at != std::string::npos; at = text.find(escaped, at + 1))
            text.replace(at, std::strlen(escaped), plain);
    return text;
}

struct HtmlTable {
    std::string heading;  ///< above it
    std::string caption;
    Rows rows;
};

/// Tables and list entries of a page, tag by tag.
struct HtmlPage {
    std::vector<HtmlTable> tables;
    std::vector<std::string> items, headings;

    explicit HtmlPage(const std::string& html) {
        for (std::size_t at = html.find('<'); at != std::string::npos; at = html.find('<', at + 1)) {
            const std::size_t end = html.find('>', at), next = html.find('<', end);
            const std::string tag = html.substr(at + 1, html.find_first_of(" >", at) - at - 1);
            Take(tag, Unescaped(html.substr(end + 1, next - end - 1)));
        }
    }
    void Take(const std::string& tag, const std::string& text) {
        if (tag == "h1" || tag == "h2" || tag == "h3")
            headings.push_back(text);
        else if (tag == "table")
            tables.push_back({headings.back(), "", {}});
        else if (tag == "caption")
            tables.back().caption = text;
        else if (tag == "tr")
            tables.back().rows.emplace_back();
        else if (tag == "th" || tag == "td")
            tables.back().rows.back().push_back(text);
        else if (tag == "li")
            items.push_back(text);
    }
    const Rows& Table(const std::string& heading, const std::string& caption) const {
        static const Rows empty;
        for (const HtmlTable& table : tables)
            if (table.heading == heading && table.caption == caption)
                return table.rows;
        ADD_FAILURE() << "no table " << caption << " under " << heading;
        return empty;
    }
    /// The value beside a caption of the part.
    std::string Fact(const std::string& heading, const std::string& name) const {
        for (const HtmlTable& table : tables)
            for (const auto& row : table.rows)
                if (table.heading == heading && row.size() > 1 && row[0] == name)
                    return row[1];
        ADD_FAILURE() << "no " << name << " under " << heading;
        return "";
    }
};

std::string Shown(const Json& value, const char* none = "-") {
    return value.is_null() ? none : FormatNumber(value.get<double>());
}

/// The number in a cell is the value, rounded to the decimals that are shown.
void ExpectShows(const std::string& cell, const Json& value) {
    const auto shown = StrictNumber(cell);
    EXPECT_EQ(shown.has_value(), !value.is_null()) << cell;
    if (!shown || value.is_null())
        return;
    const std::size_t point = cell.find('.');
    const double decimals = point == std::string::npos ? 0 : static_cast<double>(cell.size() - point - 1);
    EXPECT_NEAR(*shown, value.get<double>(), 0.5001 * std::pow(10, -decimals));
}

/// "12 to 15", "from 12", "to 15", "-"
void ExpectShowsRange(const std::string& cell, const Json& range) {
    const std::size_t to = cell.find("to ");
    const bool from = cell.starts_with("from ");
    ExpectShows(from ? cell.substr(5) : to == std::string::npos ? "" : Trimmed(cell.substr(0, to)), range[0]);
    ExpectShows(to == std::string::npos ? "" : cell.substr(to + 3), range[1]);
}

/// k, its error and range, skin, its error and range, from a column on.
void ExpectEstimate(const std::vector<std::string>& row, std::size_t from, const Json& estimate) {
    ASSERT_GE(row.size(), from + 6);
    ExpectShows(row[from], estimate["permeability"]);
    if (!estimate["sigmaLnPermeability"].is_null())
        ExpectShows(row[from + 1], Json(estimate["permeability"].get<double>() *
                                        estimate["sigmaLnPermeability"].get<double>()));
    ExpectShowsRange(row[from + 2], estimate["permeabilityRange"]);
    ExpectShows(row[from + 3], estimate["skin"]);
    ExpectShows(row[from + 4], estimate["sigmaSkin"]);
    ExpectShowsRange(row[from + 5], estimate["skinRange"]);
}

std::vector<std::string> Part(const std::vector<std::string>& row, std::size_t from, std::size_t count) {
    EXPECT_GE(row.size(), from + count);
    return {row.begin() + static_cast<std::ptrdiff_t>(std::min(from, row.size())),
            row.begin() + static_cast<std::ptrdiff_t>(std::min(from + count, row.size()))};
}

class ReportBatch : public ProgramTest {
  protected:
    ReportBatch() : ProgramTest("vorela-batch well.dkb --settings none.ini", 5) {}

    void Dravik(const std::string& arguments) const {
        const CommandResult result = Shell("dravik " + arguments);
        ASSERT_EQ(result.status, 0) << arguments << result.err;
    }
    /// A made-up well with the parameters that belong to it.
    void Simulate(const std::string& arguments) {
        const std::string truth = Shell("dravik simulate well.dkb " + arguments).out;
        const std::size_t from = truth.find("--set");
        ASSERT_NE(from, std::string::npos) << truth;
        program += " " + truth.substr(from, truth.find('\n', from) - from);
    }
    HtmlPage Report(const std::string& arguments = "", int status = 0) {
        last = Run("--report report.html " + arguments + " --json out.json");
        EXPECT_EQ(last.status, status) << last.err;
        html = Bytes("report.html");
        results = Json::parse(Bytes("out.json"));
        return HtmlPage(html);
    }
    void Saves(const std::string& name) const {
        const CommandResult result = Run("--report " + name);
        EXPECT_EQ(result.status, 0) << result.err;
    }
    /// Text of the PDF report, its lines made one by blanks.
    std::string PdfText(const std::string& name) const {
        return Shell("pdftotext -layout " + name + " - | tr -s ' \\n\\f' ' '").out;
    }

    CommandResult last;
    std::string html;
    Json results;
};

void CheckCycles(const HtmlPage& page, const Json& level, const Json& exact, const std::string& heading) {
    const Rows& rows = page.Table(heading, "Cycles");
    ASSERT_EQ(rows.size(), level["cycles"].size() + 2) << "a header, the cycles and the window";
    std::map<int, std::string> grades;
    for (const Json& cycle : exact["cycles"])
        grades[cycle["number"]] = cycle["grade"];
    for (std::size_t i = 0; i < level["cycles"].size(); ++i) {
        const Json& c = level["cycles"][i];
        const auto value = [&](const char* key, const char* part) {
            return c[key].is_null() ? "" : Shown(c[key][part]);
        };
        const std::vector<std::string> wanted{std::to_string(c["number"].get<int>()),
                                              FormatNumber(c["start"].get<double>() / 100),
                                              Shown(c["period"]),
                                              value("valve", "phase"),
                                              value("pressure", "phase"),
                                              value("flow", "phase"),
                                              value("valve", "magnitude"),
                                              value("pressure", "magnitude"),
                                              value("flow", "magnitude"),
                                              Shown(c["ratio"], ""),
                                              Shown(c["phaseLag"], ""),
                                              grades[c["number"]],
                                              c["number"] == level["selectedCycle"] ? "selected" : ""};
        EXPECT_EQ(rows[i + 1], wanted) << heading;
    }
}

std::string Shown(const Json& value, double factor) {
    return value.is_null() ? "-" : FormatNumber(value.get<double>() * factor);
}

void CheckQuality(const HtmlPage& page, const Json& exact, const std::string& heading) {
    constexpr double percent = 100;
    const Rows& rows = page.Table(heading, "Cycles of the exact analysis and their quality");
    ASSERT_GT(rows.size(), 1U) << heading;
    ASSERT_EQ(rows.size(), exact["cycles"].size() + 1);
    for (std::size_t i = 0; i < exact["cycles"].size(); ++i) {
        const Json& c = exact["cycles"][i];
        std::vector<std::string> wanted{Shown(c["number"]),
                                        c["grade"].is_null() ? "-" : c["grade"].get<std::string>()};
        for (const char* key : {"snrPressure", "snrFlow", "phaseSigma", "deviation"})
            wanted.push_back(Shown(c[key]));
        const std::string& drift = wanted.emplace_back(rows[i + 1].at(6));
        ExpectShows(drift, c["drift"]);
        const double unit = std::pow(10, -static_cast<double>(drift.size() - drift.find('.') - 1));
        EXPECT_NEAR(std::log10(1 / c["snrPressure"].get<double>() / unit), 1.5, 0.5)
            << "two digits of its error";
        wanted.insert(wanted.end(),
                      {Shown(c["periodError"], percent), Shown(c["periods"]), Shown(c["filled"], percent)});
        EXPECT_EQ(rows[i + 1], wanted) << heading;
    }
}

void CheckBudget(const HtmlPage& page, const Json& exact, const std::string& heading) {
    const Rows& rows = page.Table(heading, "What an error of an input would change");
    ASSERT_GT(rows.size(), 1U) << heading;
    ASSERT_EQ(rows.size(), exact["budget"].size() + 1);
    for (std::size_t i = 0; i < exact["budget"].size(); ++i) {
        const Json& line = exact["budget"][i];
        const Json share = line["lnPermeability"].is_null()
                               ? Json()
                               : Json(std::expm1(line["lnPermeability"].get<double>()));
        EXPECT_EQ(rows[i + 1], (std::vector{line["input"].get<std::string>(), line["step"].get<std::string>(),
                                            Shown(share, 100.0), Shown(line["skin"])}));
    }
}

void CheckInterval(const HtmlPage& page, const Json& results, std::size_t i) {
    const Json &interval = results["intervals"][i], &quick = results["quicklook"][i],
               &exact = results["exact"]["intervals"][i];
    const std::string heading = "Interval " + interval["label"].get<std::string>() + " ft";
    const std::pair<const char*, const Json&> facts[] = {
        {"Harmonic productivity index 1 (rps/psi)", interval["hpi1"]},
        {"Harmonic productivity index 2 (rps/psi)", interval["hpi2"]},
        {"Phase angle lag 1 (degrees)", interval["phase1"]},
        {"Phase angle lag 2 (degrees)", interval["phase2"]},
        {"Interval: harmonic productivity index (rps/psi)", interval["hpi"]},
        {"Interval: phase angle (degrees)", interval["phase"]},
        {"Reservoir: harmonic productivity index (bbl/day/psi)", interval["reservoirHpi"]},
        {"Reservoir: phase angle (degrees)", interval["reservoirPhase"]},
        {"Quicklook permeability (mD)", quick["permeability"]},
        {"Quicklook skin factor", quick["skin"]},
        {"Surface harmonic productivity index (bbl/day/psi)", quick["surfaceHpi"]}};
    for (const auto& [name, value] : facts)
        EXPECT_EQ(page.Fact(heading, name), Shown(value)) << name;
    for (const auto& row : page.Table(heading, "Exact analysis, all methods"))
        if (row[0] == "single" || row[0] == "joint" || row[0] == "storage") {
            ExpectEstimate(row, 1, exact[row[0]]);
            EXPECT_EQ(row[8], exact["recommended"] == row[0] ? "recommended" : "");
        }
    const Rows& harmonics = page.Table(heading, "Index of the interval by harmonic (bbl/day/psi)");
    ASSERT_EQ(harmonics.size(), exact["harmonics"].size() + 1);
    for (std::size_t h = 0; h < exact["harmonics"].size(); ++h) {
        const Json& one = exact["harmonics"][h];
        EXPECT_EQ(Part(harmonics[h + 1], 1, 3),
                  (std::vector{Shown(one["real"]), Shown(one["imag"]), Shown(one["sigma"])}));
    }
    CheckBudget(page, exact, heading);
    const auto& summary = page.Table("Summary", "Intervals: quicklook beside the exact analysis").at(i + 1);
    EXPECT_EQ(Part(summary, 0, 3), (std::vector{interval["label"].get<std::string>(),
                                                Shown(quick["permeability"]), Shown(quick["skin"])}));
    const Json& best = exact[exact["recommended"].get<std::string>()];
    ExpectEstimate(summary, 3, best);
    EXPECT_EQ(summary[9], exact["grade"]);
    EXPECT_EQ(summary[11], exact["recommended"]);
}

TEST_F(ReportBatch, ShowsTheNumbersOfTheJsonDocument) {
    Simulate("--levels 3 --cycles 8 --step 20 --noise 0.01 --seed 5");
    const HtmlPage page = Report("--set Exact.FirstCycle=3 --cycle 4");
    ASSERT_EQ(results["levels"].size(), 3U);
    const Rows& levels = page.Table("Summary", "Levels");
    for (std::size_t i = 0; i < 3; ++i) {
        const Json& level = results["levels"][i];
        const std::string name = level["dataset"];
        const std::string heading = name + ", " + Shown(level["depth"]) + " ft";
        CheckCycles(page, level, results["exact"]["levels"][i], heading);
        CheckQuality(page, results["exact"]["levels"][i], heading);
        EXPECT_EQ(page.Fact(heading, "Harmonic productivity index (rps/psi)"), Shown(level["hpi"]));
        EXPECT_EQ(page.Fact(heading, "Phase angle lag (degrees)"), Shown(level["phaseLag"]));
        EXPECT_EQ(levels.at(i + 1).at(0), name);
        EXPECT_EQ(levels.at(i + 1).at(4), std::to_string(level["cycleCount"].get<int>()));
        EXPECT_EQ(levels.at(i + 1).at(6), "3 to 8");
    }
    for (std::size_t i = 0; i < 2; ++i)
        CheckInterval(page, results, i);
    // Every curve with how it was made; the derived ones by the words of their marks.
    std::map<std::string, std::string> made;
    for (const auto& row : page.Table("Curves and how they were made", ""))
        if (row[0] == "LEVEL2")
            made[row[1]] = row[6];
    EXPECT_EQ(made["ZG"], "recorded; the chosen pressure");
    EXPECT_EQ(made["RTC_qs"], "half-period difference, 1 pass, period 240 s");
    EXPECT_THAT(made, AllOf(Contains(testing::Key("PVLSIG")), Contains(testing::Key("RTC_f"))));
}

TEST_F(ReportBatch, HtmlStandsAloneAndPdfCanBeSearchedAndHasPagesAndBookmarks) {
    Simulate("--levels 2 --cycles 5 --step 50");
    const HtmlPage page = Report();
    for (const char* outside : {"http", "<link", "<script", "url(", "@import", "<iframe"})
        EXPECT_THAT(html, Not(HasSubstr(outside)));
    std::size_t pictures = 0;
    for (std::size_t at = html.find(" src="); at != std::string::npos; at = html.find(" src=", at + 1)) {
        EXPECT_EQ(html.substr(at, 32), " src=\"data:image/svg+xml;base64,");
        ++pictures;
    }
    EXPECT_EQ(pictures, 5U) << "profile, two plots, impedance, amplitude and lag";
    EXPECT_THAT(html, AllOf(HasSubstr("prefers-color-scheme: dark"), HasSubstr("@media print")));

    Saves("report.pdf");
    const std::string text = PdfText("report.pdf");
    for (const HtmlTable& table : page.tables)
        for (const auto& row : table.rows)
            for (const std::string& cell : row)
                EXPECT_TRUE(!StrictNumber(cell) || text.find(cell) != std::string::npos)
                    << cell << " of " << table.heading << ", " << table.caption;
    const std::string bookmarks = Shell("pdftohtml -xml -i -stdout report.pdf").out;
    for (std::size_t i = 1; i < page.headings.size(); ++i)
        EXPECT_TRUE(page.headings[i] == "Contents" ||
                    bookmarks.find(">" + page.headings[i] + "</item>") != std::string::npos)
            << page.headings[i];
    const std::string facts = Shell("pdfinfo report.pdf").out;
    const int pages = std::stoi(facts.substr(facts.find("Pages:") + 6));
    EXPECT_GE(pages, 6);
    for (int n = 1; n <= pages; ++n)
        EXPECT_THAT(text, HasSubstr("Page " + std::to_string(n) + " of " + std::to_string(pages)));
}

TEST_F(ReportBatch, MarksInputsThatStillHaveTheirDefaults) {
    Simulate("--levels 2 --cycles 4 --step 50");
    const HtmlPage page = Report(
        "--set Parameters.CasingID=5.5 --set Parameters.B0=1 --set "
        "Parameters.1Porosity=0.15 --set Parameters.1Height=10");
    std::map<std::string, std::vector<std::string>> inputs;
    for (const char* caption : {"Well and analysis", "Exact analysis"})
        for (const auto& row : page.Table("Inputs", caption))
            inputs[row[0]] = row;
    EXPECT_EQ(inputs["Casing internal diameter (inches)"][1], "5.5");
    EXPECT_EQ(inputs["Casing internal diameter (inches)"][2], "");
    EXPECT_EQ(inputs["Formation volume factor (rb/stb)"][2], "default");
    EXPECT_EQ(inputs["Confidence of the ranges (%)"][2], "default");
    EXPECT_EQ(inputs["Spinner type"][2], "");
    const auto& interval = page.Table("Inputs", "Inputs of the intervals").at(1);
    EXPECT_EQ(interval[1], "0.15");
    EXPECT_EQ(interval[4], "10 (default)");
    EXPECT_THAT(html, HasSubstr("<td class=\"n d\">10 (default)</td>"));
}

TEST_F(ReportBatch, EveryNoteOfTheRunIsThere) {
    // One of three levels lacks the selected cycle; a height of 0 fails in a message box.
    Simulate("--levels 3 --cycles 6 --step 50");
    Dravik("export well.dkb LEVEL1 -o short.csv");
    Shell("head -n 900 short.csv > cut.csv");
    Dravik("import well.dkb cut.csv --dataset LEVEL1 --replace");
    const HtmlPage page = Report("--cycle 5 --set Parameters.1Height=0", 1);
    std::istringstream said(last.err);
    std::string line;
    std::size_t lines = 0;
    for (; std::getline(said, line); ++lines) {
        const std::string note = line.substr(line.find(": ") + 2);
        EXPECT_THAT(page.items, Contains(HasSubstr(note))) << line;
    }
    EXPECT_THAT(last.err, AllOf(HasSubstr("Division by zero"), HasSubstr("there is no cycle 5")));
    EXPECT_GE(lines, 4U);
    for (const Json& interval : results["exact"]["intervals"])
        for (const Json& message : interval["messages"])
            EXPECT_THAT(page.items, Contains(HasSubstr(message.get<std::string>())));
    EXPECT_THAT(page.Fact("Summary", "Notes and warnings"), HasSubstr("listed at the end"));
    EXPECT_EQ(page.Fact("LEVEL1, " + Shown(results["levels"][2]["depth"]) + " ft",
                        "Harmonic productivity index (rps/psi)"),
              "-")
        << "a level without results at its cycle";
}

TEST_F(ReportBatch, OneLevelHasAReportToo) {
    Simulate("--levels 1 --cycles 4 --step 50");
    const HtmlPage page = Report();
    EXPECT_THAT(html, HasSubstr("two levels or more are needed"));
    EXPECT_THAT(page.headings, Not(Contains("Intervals")));
    CheckCycles(page, results["levels"][0], results["exact"]["levels"][0], page.headings.at(5));
    Saves("one.pdf");
    EXPECT_THAT(PdfText("one.pdf"), HasSubstr("two levels or more are needed"));
}

TEST_F(ReportBatch, NamesMayHoldMarkupAndUmlauts) {
    const std::string name = "A<b>&\"Ü";
    Shell("dravik simulate first.dkb --levels 1 --cycles 4 --step 50");
    Dravik("export first.dkb LEVEL1 -o level.csv");
    Dravik("import 'Brønn <7> & Söhne.dkb' level.csv --dataset '" + name + "'");
    program = "vorela-batch 'Brønn <7> & Söhne.dkb' --settings none.ini";
    const HtmlPage page = Report();
    EXPECT_EQ(page.headings.at(0), "Harmonic test report: Brønn <7> & Söhne");
    EXPECT_EQ(page.Table("Summary", "Levels").at(1).at(0), name);
    EXPECT_THAT(html, Not(HasSubstr("A<b>")));
    Saves("names.pdf");
    EXPECT_THAT(PdfText("names.pdf"), AllOf(HasSubstr(name), HasSubstr("Brønn <7> & Söhne")));
    EXPECT_THAT(Shell("pdftohtml -xml -i -stdout names.pdf").out, HasSubstr(">A&lt;b&gt;&amp;&#34;Ü, "));
}

TEST_F(ReportBatch, RefusesWhatItMustNotWriteAndKeepsTheOldFile) {
    Simulate("--levels 1 --cycles 3 --step 50");
    EXPECT_EQ(Run("").status, 0);
    for (const char* name : {"report.txt", "report", "report.htm", "pdf"})
        Fails(std::string("--report ") + name, "must end in .pdf or .html", 2);
    Shell("ln -s well.dkb database.html; ln -s none.ini settings.pdf; echo [Parameters] > none.ini");
    Fails("--report database.html", "is read or written by this run already", 2);
    Fails("--report settings.pdf", "is read or written by this run already", 2);
    Fails("--plot same.pdf --report same.pdf", "is read or written by this run already", 2);
    Fails("--plan k=1,skin=0 --report x.pdf", "does not go with it", 2);
    Write("old.html", "old");
    Write("old.pdf", "old");
    for (const char* name : {"old.html", "old.pdf"}) {
        const CommandResult full = Shell("ulimit -f 4; " + program + " --report " + name);
        EXPECT_EQ(full.status, 1) << full.err;
        EXPECT_THAT(full.err, HasSubstr(name));
        EXPECT_EQ(Bytes(name), "old");
    }
    EXPECT_EQ(Run("--report nowhere/x.html").status, 1);
    EXPECT_THAT(Shell("ls").out, Not(HasSubstr(".part-")));
}

}  // namespace
}  // namespace vorela::test
