#include "app/WindowMenus.h"

#include <QAction>
#include <QMainWindow>
#include <QMenuBar>
#include <QToolBar>

#include "analysis/ValueHistory.h"
#include "app/RecentMenu.h"
#include "app/WindowBars.h"
#include "db/DatasetRecord.h"

namespace vorela {

WindowMenus::WindowMenus(QMainWindow& window, const std::vector<MenuEntry>& entries, const Further& further)
    : window_(window) {
    Add(entries);
    AddFurther(further);
    AddToolBar();
    ShowUndo();
}

void WindowMenus::Add(const std::vector<MenuEntry>& entries) {
    QMenu* menu = nullptr;
    for (const MenuEntry& entry : entries) {
        const QString name = QStringLiteral("mnu") + QString::fromUtf8(entry.menu);
        if (menu == nullptr || menu->objectName() != name) {
            menu = window_.menuBar()->addMenu(QLatin1Char('&') + QString::fromUtf8(entry.menu));
            menu->setObjectName(name);
        }
        QAction* action = menu->addAction(QString::fromUtf8(entry.caption));
        action->setObjectName(name + QString::number(menu->actions().size() - 1));
        action->setSeparator(entry.caption == nullptr);
        action->setShortcut(QKeySequence(QString::fromUtf8(entry.shortcut)));
        if (entry.act)
            QObject::connect(action, &QAction::triggered, &window_, entry.act);
        if (entry.needsSelection) {
            needSelection_.push_back(action);
            action->setEnabled(false);
        }
    }
}

// Behind the entries of the field manuals, which keep their places.
void WindowMenus::AddFurther(const Further& further) {
    QObject::connect(AddNamed("mnuFile", "mnuFilePreview", "Print Pre&view..."), &QAction::triggered,
                     &window_, further.preview);
    QMenu* file = MenuNamed("mnuFile");
    file->addSeparator();
    recent_ = new RecentMenu(file);
    file->addMenu(recent_);
    MenuNamed("mnuEdit")->addSeparator();
    undo_ = AddNamed("mnuEdit", "mnuEditUndo", "&Undo");
    undo_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Z));
    redo_ = AddNamed("mnuEdit", "mnuEditRedo", "&Redo");
    redo_->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z));
    QObject::connect(undo_, &QAction::triggered, &window_, [step = further.stepValue] { step(false); });
    QObject::connect(redo_, &QAction::triggered, &window_, [step = further.stepValue] { step(true); });
}

void WindowMenus::AddToolBar() {
    const QToolBar* bar = BuildToolBar(window_, {{QStringLiteral("mnuFile0"), QMenu::tr("Select Data")},
                                                 {QStringLiteral("mnuFile8"), QMenu::tr("Import")},
                                                 {QStringLiteral("mnuFile2"), QMenu::tr("Save")},
                                                 {QStringLiteral("mnuFile7"), QMenu::tr("Print")},
                                                 {QString(), QString()},
                                                 {QStringLiteral("mnuEdit0"), QMenu::tr("Parameters")},
                                                 {QStringLiteral("mnuView0"), QMenu::tr("Cycles")},
                                                 {QStringLiteral("mnuAction4"), QMenu::tr("Calculate")},
                                                 {QString(), QString()},
                                                 {QStringLiteral("mnuEditUndo"), QMenu::tr("Undo")},
                                                 {QStringLiteral("mnuEditRedo"), QMenu::tr("Redo")}});
    MenuNamed("mnuView")->addSeparator();
    MenuNamed("mnuView")->addAction(bar->toggleViewAction());
    bar->toggleViewAction()->setObjectName(QStringLiteral("mnuViewToolbar"));
}

QMenu* WindowMenus::MenuNamed(const char* name) const {
    return window_.menuBar()->findChild<QMenu*>(QString::fromUtf8(name));
}

QAction* WindowMenus::AddNamed(const char* menu, const char* name, const char* caption) {
    QAction* action = MenuNamed(menu)->addAction(QMenu::tr(caption));
    action->setObjectName(QString::fromUtf8(name));
    return action;
}

void WindowMenus::Enable(bool on) {
    for (QAction* entry : window_.menuBar()->actions())
        entry->setEnabled(on);
    for (QMenu* menu : window_.menuBar()->findChildren<QMenu*>())
        for (QAction* entry : menu->actions())
            entry->setEnabled(on);
    for (QAction* entry : needSelection_)
        entry->setEnabled(on && !CurrentSelection().datasets.empty());
    if (on)
        ShowUndo();
}

void WindowMenus::ShowUndo() {
    const auto show = [](QAction& action, const QString& verb, const std::string& subject) {
        const QString named = QString::fromStdString(subject).replace(QLatin1Char('&'), QLatin1String("&&"));
        action.setText(subject.empty() ? verb : verb + QLatin1Char(' ') + named);
        action.setEnabled(!subject.empty());
        action.setIconText(QString(verb).remove(QLatin1Char('&')));
        action.setToolTip(ToolTipOf(action));
    };
    show(*undo_, QMenu::tr("&Undo"), UndoSubject());
    show(*redo_, QMenu::tr("&Redo"), RedoSubject());
}

}  // namespace vorela
