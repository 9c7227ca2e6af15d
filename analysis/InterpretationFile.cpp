#include "analysis/InterpretationFile.h"

#include <algorithm>
#include <filesystem>

#include "analysis/modMain.h"
#include "db/DatasetRecord.h"
#include "db/modSelectData.h"
#include "general/AtomicFile.h"
#include "general/DelimitedText.h"
#include "general/modGeneral.h"

namespace vorela {

// A row ends in a carriage return of its own, before the line's carriage return and line feed: the
// spreadsheets that read these files were set up for it.
std::string InterpretationText(char separator) {
    constexpr const char* lineEnd = "\r\n";
    std::string text = std::string("Corvane Vorela Quicklook Interpretation") + lineEnd + lineEnd;
    for (const GridKind kind : gridKinds) {
        for (const std::vector<std::string>& row : Grid(kind).cells) {
            for (std::size_t column = 0; column < row.size(); ++column) {
                text += DelimitedCell(row[column], separator);
                text += column + 1 < row.size() ? separator : '\r';
            }
            text += lineEnd;
        }
        text += lineEnd;
    }
    return text;
}

bool WriteInterpretation(const std::string& path, int filterIndex) {
    const StatusScope status(step::savingData);
    return Attempt(step::savingData, [&] {
        constexpr int commaSeparated = 1;
        WriteFileAtomically(path, InterpretationText(filterIndex == commaSeparated ? ',' : '\t'));
    });
}

std::string ProposedFile(std::size_t dataset) {
    if (dataset >= CurrentSelection().datasets.size())
        return {};
    const DatasetRecord& record = CurrentSelection().datasets[dataset];
    const std::filesystem::path database(record.database);
    std::string level = record.dataset;
    std::replace(level.begin(), level.end(), '/', '-');
    return (database.parent_path() / (database.stem().string() + " " + level)).string();
}

bool SaveInterpretation() {
    const auto choice = CurrentPorts().saveFile->AskSaveFile(
        {"Save Vorela Interpretation", "CSV File (*.csv)|*.csv|Text File (*.txt)|*.txt|", 1,
         ProposedFile(ShownChoice().dataset), FilesInUse()});
    if (!choice)
        return false;
    RefreshGrids();  // while recording, only the visible grid follows the data
    if (!WriteInterpretation(choice->path, choice->filterIndex))
        return false;
    CurrentPorts().messages->Show(MessageIcon::information, "Vorela Interpretation",
                                  "Created " + choice->path);
    return true;
}

}  // namespace vorela
