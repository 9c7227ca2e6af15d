// The status bar of the main window, and the line above stale results: what an engineer would otherwise find
// out late.
#pragma once

#include <QCoreApplication>
#include <QString>
#include <QStringList>
#include <cstddef>
#include <string>

class QLabel;
class QProgressBar;
class QStatusBar;

namespace vorela {

class StatusLine {
    Q_DECLARE_TR_FUNCTIONS(vorela::StatusLine)
  public:
    /// Adds its labels and the progress bar to `bar`; `stale` stands above the results.
    StatusLine(QStatusBar* bar, QLabel* stale);

    QProgressBar* Progress() const { return progBar_; }
    void Say(const QString& text);
    /// What was said last is true no longer: the hints stand there again.
    void EndSaid();

    /// The hints as they are now: stale curves, levels without results, foreign units, what was left out.
    QStringList Hints() const;
    void ShowHints();
    /// Again while nothing else has been said: what a hint asked for may have come.
    void RenewHints();
    /// Results of curves that the present settings would make otherwise, until they are made anew.
    void ShowStaleCurves();
    bool HasStaleCurves() const { return !stale_.isEmpty(); }
    /// Levels whose selected entry has no results leave empty rows: said while it is so, with the reason once
    /// the curves have come to `rest` (reading them would hold up the live display).
    void ShowResultHints(bool rest);
    /// An error that still holds stands in the status bar, one that does not ("") leaves it.
    void ShowStanding(const std::string& error);

    /// How much is selected, and of which curves.
    void ShowSelected();
    /// How far the work on a recording is: of dataset `shown` while it is being recorded, else of the first
    /// one that is.
    void ShowLive(std::size_t shown);

  private:
    QStatusBar* bar_;
    QLabel* lblStale_;
    QLabel* lblLive_;
    QLabel* lblSelection_;
    QProgressBar* progBar_;
    QString hints_;  ///< as last shown
    QString standing_;
    QString said_;
    QStringList stale_;
    QStringList resultHints_;
};

}  // namespace vorela
