// File, Save Report...: from the menu entry to the file.
#include <QAction>
#include <QStatusBar>

#include "tests/app/GuiSupport.h"

namespace vorela::test {
namespace {

using ReportEntry = WindowFixture;

TEST_F(ReportEntry, SavesWhatTheWindowShowsInBothFormats) {
    const auto& entry = *window->findChild<QAction*>("mnuFile9");
    EXPECT_EQ(entry.text(), "Save &Report...");
    Trigger("mnuFile9");
    EXPECT_EQ(ports.TakeBox().text, "No data selected");
    MakeLevels();
    ports.answers = {true, true, true};
    SelectThroughDialog({"LEVEL1", "LEVEL2", "LEVEL3"}, [](QDialog& dialog) { Click(dialog, "cmdCreate"); });

    const std::string page = folder.File("well report.html");
    ports.saveFileAnswer = SaveFileChoice{page, 2};
    QTest::keyClick(window.get(), Qt::Key_R, Qt::ControlModifier);
    ASSERT_EQ(ports.saveRequests.size(), 1U);
    EXPECT_EQ(ports.saveRequests[0].proposed, folder.File("well report"));
    EXPECT_THAT(ports.saveRequests[0].inputs, Contains(DatabasePath()));
    EXPECT_TRUE(Find<QStatusBar>(*window, "statBar").currentMessage().endsWith("well report.html"));
    const std::string html = ReadAll(page);
    for (const char* shown : {"LEVEL1, 6000 ft", "LEVEL2, 6100 ft", "Interval 6100 to 6050 ft", "0.000003",
                              "default", "half-period difference"})
        EXPECT_THAT(html, HasSubstr(shown));
    // The number that stands in the grid of the first interval.
    SetTab(4);
    const QString index = Find<QTableWidget>(*window, "fgSummary").item(1, 3)->text();
    EXPECT_THAT(html, HasSubstr("bbl/day/psi)</th><td>" + index.toStdString() + "<"));

    ports.saveFileAnswer = SaveFileChoice{folder.File("well.PDF"), 1};
    Trigger("mnuFile9");
    EXPECT_TRUE(ReadAll(folder.File("well.PDF")).starts_with("%PDF-"));
    EXPECT_TRUE(ports.boxes.empty());

    ports.saveFileAnswer = SaveFileChoice{folder.File("nowhere/x.pdf"), 1};
    Trigger("mnuFile9");
    EXPECT_THAT(ports.TakeBox().text, AllOf(HasSubstr("Saving report"), HasSubstr("nowhere/x.pdf")));
    ports.saveFileAnswer.reset();
    Trigger("mnuFile9");
    EXPECT_EQ(ports.saveRequests.size(), 4U) << "cancelled";
}

TEST_F(ReportEntry, TellsTheHintsOfTheStatusBar) {
    MakeLevels();
    ports.answers = {false, false, false};
    SelectThroughDialog({"LEVEL1", "LEVEL2"});
    const QString hint = Find<QStatusBar>(*window, "statBar").currentMessage();
    ASSERT_TRUE(hint.contains("No cycles yet")) << hint.toStdString();
    ports.saveFileAnswer = SaveFileChoice{folder.File("empty.html"), 2};
    Trigger("mnuFile9");
    const std::string html = ReadAll(folder.File("empty.html"));
    for (const QString& line : hint.split("; "))
        EXPECT_THAT(html, HasSubstr("<li>" + line.toHtmlEscaped().toStdString() + "</li>"));
    EXPECT_THAT(html,
                AllOf(HasSubstr("No cycles have been found."), HasSubstr("LEVEL2: no whole cycle yet")));
}

}  // namespace
}  // namespace vorela::test
