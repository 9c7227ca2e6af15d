#include "plotview/ReportPictures.h"

#include <functional>

#include "db/DatasetRecord.h"
#include "general/Ports.h"
#include "plot/ExactPicture.h"
#include "plotview/PlotFile.h"
#include "report/ExactPictures.h"

namespace vorela {
namespace {

/// Keeps what would be message boxes; a question is answered No.
class MessagesKept final : public MessagePort {
  public:
    explicit MessagesKept(std::vector<std::string>& texts) : texts_(texts), before_(CurrentPorts().messages) {
        CurrentPorts().messages = this;
    }
    ~MessagesKept() override { CurrentPorts().messages = before_; }
    MessagesKept(const MessagesKept&) = delete;
    MessagesKept& operator=(const MessagesKept&) = delete;
    void Show(MessageIcon, const std::string&, const std::string& text) override { texts_.push_back(text); }
    bool AskYesNo(const std::string&, const std::string& text) override {
        texts_.push_back(text);
        return false;
    }

  private:
    std::vector<std::string>& texts_;
    MessagePort* before_;
};

bool Draw(DrawingSurface& surface, const std::function<void()>& draw) {
    if (!surface.Begin())
        return false;
    draw();
    surface.End();
    return true;
}

/// The whole record, whatever part of it the window shows, and as large as the paper allows.
bool DrawPlotOf(DrawingSurface& surface, const ReportPicture& picture) {
    const DatasetRecord& record = CurrentSelection().datasets.at(picture.index);
    PlotFileOptions options;
    options.span = TimeSpan{record.extentA, record.extentB};
    options.dataset = picture.index;
    options.width = picture.width;
    options.height = picture.height;
    options.fit = true;
    return DrawPlotPicture(surface, options);
}

}  // namespace

bool DrawReportPicture(DrawingSurface& surface, const ReportPicture& picture, const ExactResults& exact,
                       std::vector<std::string>& remarks) {
    const MessagesKept kept(remarks);
    switch (picture.kind) {
        case ReportPictureKind::profile:
            return Draw(surface, [&] { DrawProfile(surface, ProfileOf(exact)); });
        case ReportPictureKind::plot:
            return DrawPlotOf(surface, picture);
        case ReportPictureKind::impedance:
        case ReportPictureKind::amplitudeAndLag:
            break;
    }
    const ImpedancePicture impedance = ImpedanceOf(exact, picture.index);
    if (impedance.harmonics.empty())
        return false;
    return Draw(surface, [&] {
        if (picture.kind == ReportPictureKind::impedance)
            DrawImpedance(surface, impedance);
        else
            DrawAmplitudeAndLag(surface, impedance);
    });
}

}  // namespace vorela
