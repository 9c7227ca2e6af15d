// The menus of the main window and its toolbar.
#pragma once

#include <functional>
#include <vector>

class QAction;
class QMainWindow;
class QMenu;

namespace vorela {

class RecentMenu;

/// One entry of a menu; its place among the entries of the same menu is its index.
struct MenuEntry {
    const char* menu;     ///< "File": the menu's objectName is "mnuFile", the entry's "mnuFile" & index
    const char* caption;  ///< null for a separator
    std::function<void()> act;
    const char* shortcut = "";
    bool needsSelection = false;  ///< disabled while no level is selected
};

class WindowMenus {
  public:
    /// What stands behind the entries of the field manuals.
    struct Further {
        std::function<void()> preview;
        std::function<void(bool again)> stepValue;  ///< undo, or do again
    };
    /// Fills the menu bar of `window` and adds the toolbar.
    WindowMenus(QMainWindow& window, const std::vector<MenuEntry>& entries, const Further& further);

    RecentMenu* Recent() const { return recent_; }
    /// All entries, while no action runs.
    void Enable(bool on);
    /// Undo and redo with what they would concern.
    void ShowUndo();

  private:
    void Add(const std::vector<MenuEntry>& entries);
    void AddFurther(const Further& further);
    void AddToolBar();
    QAction* AddNamed(const char* menu, const char* name, const char* caption);
    QMenu* MenuNamed(const char* name) const;

    QMainWindow& window_;
    RecentMenu* recent_ = nullptr;
    QAction* undo_ = nullptr;
    QAction* redo_ = nullptr;
    std::vector<QAction*> needSelection_;
};

}  // namespace vorela
