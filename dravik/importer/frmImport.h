// The import of recordings: files, how each is read, what its columns stand for, where they go. Every change
// is planned anew beside the window and told; the import itself shows its progress and can be stopped.
#pragma once

#include <QDialog>
#include <QTimer>
#include <memory>
#include <string>
#include <vector>

#include "dravik/importer/ImportRun.h"
#include "dravik/importer/PlanRunner.h"
#include "dravik/importer/modImport.h"

class QComboBox;
class QLineEdit;
class QMimeData;

namespace Ui {
class frmImport;
}

namespace dravik {

/// What the program knows before anything is chosen; empty: nothing.
struct ImportDefaults {
    std::string database;  ///< that is at work
    std::string period;    ///< of the valve, s
};

class frmImport : public QDialog {
    Q_OBJECT
  public:
    explicit frmImport(const ImportDefaults& defaults, QWidget* parent = nullptr);
    ~frmImport() override;

    void AddFiles(const QStringList& paths);
    /// After the dialog was accepted.
    const Imported& Result() const { return imported_; }

    /// The files that are dropped or pasted; none where it is something else.
    static QStringList FilesIn(const QMimeData* data);

  public slots:
    void reject() override;

  protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void ConnectFiles();
    void ConnectControls();
    void FillFixedLists();
    void ChooseFiles();
    void RemoveFile();
    void BrowseDatabase();
    void BrowseTimes();

    int CurrentFile() const;
    const FilePlan* CurrentPlan() const;
    /// The controls into the settings, as they stand; then they are planned.
    void Changed();
    void CopyControls();
    void CopyColumns(FileControls& controls) const;
    void ShowControls();
    void Plan();
    void TakePlan(const JobPlan& job);

    void ShowFileStates();
    void ShowFound();
    void ShowColumns();
    void ShowColumn(int row, const ColumnView& column);
    void ShowRows();
    void ShowNotes();
    void ShowValve();
    void ShowState();
    bool ActOnCell();

    void Import();
    void EndImport(const QString& fault);
    bool ShowProgress(std::uint64_t done, std::uint64_t all);

    std::unique_ptr<Ui::frmImport> ui_;
    ImportSettings settings_;
    JobPlan job_;
    std::vector<ColumnView> shownColumns_;  ///< in the table
    Imported imported_;
    PlanRunner runner_;
    QTimer soon_;
    std::string databaseOfUser_;  ///< empty: the suggested one
    bool showing_ = false;        ///< controls are being filled: not the user's doing
    bool importing_ = false;
    bool stop_ = false;
};

}  // namespace dravik
