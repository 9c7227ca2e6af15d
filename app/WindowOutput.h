// What leaves the main window as a file or on paper: each with its dialog, the writing, and a word in the
// status bar.
#pragma once

#include <cstddef>
#include <string>

class QWidget;

namespace vorela {

class LevelPage;
class StatusLine;

class WindowOutput {
  public:
    /// The dialogs stand over `window`.
    WindowOutput(QWidget& window, const LevelPage& page, StatusLine& status)
        : window_(window), page_(page), status_(status) {}

    /// Of the page of cycles that is shown, else of the plot of `dataset`.
    void SavePlot(std::size_t dataset);
    void PrintPlot(std::size_t dataset);
    void PreviewPlot(std::size_t dataset);
    /// Of all that is selected.
    void SaveReport();

  private:
    void SayCreated(const std::string& path);

    QWidget& window_;
    const LevelPage& page_;
    StatusLine& status_;
};

}  // namespace vorela
