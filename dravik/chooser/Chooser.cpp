#include "dravik/chooser/Chooser.h"

#include <QApplication>
#include <exception>
#include <utility>

#include "dravik/chooser/DatasetListing.h"
#include "dravik/chooser/frmChooser.h"

namespace dravik {
namespace {

std::string& OfferedDatabase() {
    static std::string path;
    return path;
}

std::int32_t Choose(const vorela::DkBaseApi& api, DBMultiSelect* selection) {
    frmChooser dialog(api, QApplication::activeWindow());
    if (const std::string offered = std::exchange(OfferedDatabase(), {}); !offered.empty())
        dialog.OpenFile(QString::fromStdString(offered));
    const bool busy = QApplication::overrideCursor() != nullptr;
    if (busy)
        QApplication::setOverrideCursor(Qt::ArrowCursor);
    const bool accepted = dialog.exec() == QDialog::Accepted;
    if (busy)
        QApplication::restoreOverrideCursor();
    if (!accepted)
        return 0;
    std::int32_t chosen = 0;
    for (const std::string& name : dialog.ChosenDatasets()) {
        if (api.DBselectionadd(selection, (dialog.Database() + "/" + name).c_str()) == DK_OK)
            ++chosen;
    }
    if (chosen > 0)
        RememberDatabase(dialog.Database());
    return chosen;
}

/// Called by the library, which is C: nothing may be thrown through it.
std::int32_t ChooseForLibrary(void* context, DBMultiSelect* selection) {
    try {
        return Choose(*static_cast<const vorela::DkBaseApi*>(context), selection);
    } catch (const std::exception&) {
        return 0;
    }
}

}  // namespace

void OfferDatabase(const std::string& path) {
    OfferedDatabase() = path;
}

void RegisterChooser(const vorela::DkBaseApi& api) {
    api.DBsetchooser(ChooseForLibrary, const_cast<vorela::DkBaseApi*>(&api));
}

}  // namespace dravik
