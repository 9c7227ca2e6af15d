// The File menu's list of the selections made last.
#pragma once

#include <QMenu>
#include <vector>

namespace vorela {

struct RecentSelection;

class RecentMenu : public QMenu {
    Q_OBJECT
  public:
    explicit RecentMenu(QWidget* parent);
    /// The selections as they are kept now; done by itself before the menu shows.
    void Fill();

  signals:
    void Chosen(const vorela::RecentSelection& recent);

  private:
    std::vector<QAction*> entries_;
};

}  // namespace vorela
