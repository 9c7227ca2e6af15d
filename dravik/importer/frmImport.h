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

class QMimeData;

namespace Ui {
class frmImport;
}

namespace dravik {

class ColumnsTable;

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
    void ShowControls();
    void Plan();
    void TakePlan(const JobPlan& job);
    void SuggestValve();

    void ShowFileStates();
    void ShowFound();
    void ShowNotes();
    void ShowValve();
    void ShowState();

    void Import();
    void EndImport(const QString& fault);
    bool ShowProgress(std::uint64_t done, std::uint64_t all);

    std::unique_ptr<Ui::frmImport> ui_;
    ImportSettings settings_;
    JobPlan job_;
    Imported imported_;
    ColumnsTable* columns_ = nullptr;  ///< owned as a child
    PlanRunner runner_;
    QTimer soon_;
    std::string databaseOfUser_;  ///< empty: the suggested one
    bool valveOfUser_ = false;    ///< else as suggested
    bool showing_ = false;        ///< controls are being filled: not the user's doing
    bool importing_ = false;
    bool stop_ = false;
};

}  // namespace dravik
