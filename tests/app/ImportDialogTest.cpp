// Recordings dropped on the window and brought in by the import dialog.
#include <QDropEvent>
#include <QHeaderView>
#include <QListWidget>
#include <QMimeData>
#include <QPlainTextEdit>

#include "tests/app/GuiSupport.h"

namespace vorela::test {
namespace {

class ImportDialog : public WindowFixture {
  protected:
    /// 80 s, a pressure of 200 + i/8 without unit, a flow in rps, a valve that moves every 10 s.
    std::string Sheet() const {
        std::string text = "Zeit (s);Druck;Durchfluss (rps);Ventil\n";
        for (int i = 0; i < 80; ++i)
            text += std::to_string(i) + ";" + std::to_string(200 + i / 8) + "," +
                    std::to_string(125 * (i % 8)) + ";" + std::to_string(i) + ",5;" +
                    std::to_string(i / 10 % 2) + "\n";
        WriteAll(folder.File("sheet.csv"), text);
        return folder.File("sheet.csv");
    }
    void Drop(const std::string& file) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(QString::fromStdString(file))});
        QDragEnterEvent enter(QPoint(200, 200), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window.get(), &enter);
        EXPECT_TRUE(enter.isAccepted());
        QDropEvent drop(QPoint(200, 200), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window.get(), &drop);
    }
    static void WaitForPlan(QDialog& dialog) {
        QTest::qWait(250);  // typing goes on for so long
        EXPECT_TRUE(QTest::qWaitFor([&] { return Find<QPushButton>(dialog, "cmdImport").isEnabled(); }));
    }
    static std::string Notes(QDialog& dialog) {
        return Find<QPlainTextEdit>(dialog, "txtNotes").toPlainText().toStdString();
    }
    static void ExpectLastColumnStretched(QTableWidget& table) {
        const QHeaderView& header = *table.horizontalHeader();
        EXPECT_EQ(header.length(), table.viewport()->width());
    }
};

TEST_F(ImportDialog, DroppedSheetIsSettledByMouseAndKeysAndComesInMarked) {
    enum { curveColumn = 2, unitColumn, convertColumn };
    ModalScript script;
    script.Then("frmImport", [](QDialog& dialog) {
        dialog.resize(1600, 700);
        WaitForPlan(dialog);
        auto& table = Find<QTableWidget>(dialog, "tblColumns");
        const auto centre = [&](int row, int column) {
            return table.visualItemRect(table.item(row, column)).center();
        };
        EXPECT_EQ(Find<QComboBox>(dialog, "cboValve").currentText(), "threshold of a column");
        EXPECT_THAT(
            Notes(dialog),
            testing::StartsWith("Note: dataset sheet gets no depth, by which levels are sorted (Depth)\n"
                                "Note: Druck has no unit: taken for psi in the analysis (Unit)"));
        ExpectLastColumnStretched(table);
        QTest::mouseDClick(table.viewport(), Qt::LeftButton, {}, centre(1, unitColumn));
        Type("bar");
        Press(Qt::Key_Return);
        WaitForPlan(dialog);
        ExpectLastColumnStretched(table);
        EXPECT_THAT(Notes(dialog), testing::HasSubstr("pressure not in psi: ZG (bar) (To psi)"));
        QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, centre(1, convertColumn));
        Press(Qt::Key_Space);
        WaitForPlan(dialog);
        Find<QLineEdit>(dialog, "txtDepth").setFocus();
        Type("8120");
        WaitForPlan(dialog);
        EXPECT_EQ(Notes(dialog), "Note: ZG: bar becomes psi");
        EXPECT_EQ(table.item(3, curveColumn)->text(), "VENTIL");
        QTest::mouseClick(&Find<QPushButton>(dialog, "cmdImport"), Qt::LeftButton);
    });
    bool selects = false;
    ports.answers = {true};  // to discard the selection
    script.Then("frmSelectData", [&](QDialog& dialog) {
        selects = true;
        const auto& list = Find<QListWidget>(dialog, "lstPasses");
        ASSERT_EQ(list.count(), 1);
        EXPECT_EQ(list.item(0)->text(), "sheet");
        EXPECT_TRUE(list.item(0)->isSelected());
        Press(Qt::Key_Escape);
    });
    Drop(Sheet());
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return selects && QApplication::activeModalWidget() == nullptr; }, 20000));
    const Database database(folder.File("sheet.dkb"), OpenMode::existing);
    const auto sample = [&](const char* curve, std::int32_t index) {
        return CurveReader(database, "sheet", curve, Between::sampleBefore).At(index).value_or(-1.0);
    };
    EXPECT_NEAR(sample("ZG", 1100), 201.375 * 14.5037738, 1e-3);
    EXPECT_EQ(sample("RTC", 1100), 11.5);
    EXPECT_EQ(sample("ADPTH", 0), 8120);
    EXPECT_EQ(sample("PVLID", 1100), 3);
    EXPECT_EQ(sample("PVLID", 2100), 1);
}

}  // namespace
}  // namespace vorela::test
