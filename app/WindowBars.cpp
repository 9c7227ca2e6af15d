#include "app/WindowBars.h"

#include <QAction>
#include <QMainWindow>
#include <QToolBar>

#include "general/SettingsTable.h"

namespace vorela {
namespace {

constexpr const char* section = "Window";

SettingFields Fields(WindowChoices& choices) {
    return {{"Toolbar", &choices.toolBar}, {"HoldCursors", &choices.holdCursors}};
}

}  // namespace

WindowChoices ReadWindowChoices() {
    WindowChoices choices;
    ReadFields(section, Fields(choices));
    return choices;
}

void WriteWindowChoices(const WindowChoices& choices) {
    WindowChoices written = choices;
    WriteFields(section, Fields(written));
}

QString ToolTipOf(const QAction& action) {
    QString text = action.text();
    text.remove(QLatin1Char('&'));
    if (text.endsWith(QLatin1String("...")))
        text.chop(3);
    return action.shortcut().isEmpty()
               ? text
               : text + QStringLiteral(" (%1)").arg(action.shortcut().toString(QKeySequence::NativeText));
}

QToolBar* BuildToolBar(QMainWindow& window, const QList<QPair<QString, QString>>& entries) {
    auto* bar = new QToolBar(QMainWindow::tr("&Toolbar"), &window);
    bar->setObjectName(QStringLiteral("toolBar"));
    bar->setAccessibleName(QMainWindow::tr("Toolbar"));
    bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    bar->setMovable(false);
    for (const auto& [name, caption] : entries) {
        auto* action = name.isEmpty() ? nullptr : window.findChild<QAction*>(name);
        if (action == nullptr) {
            bar->addSeparator();
            continue;
        }
        action->setIconText(caption);
        action->setToolTip(ToolTipOf(*action));
        bar->addAction(action);
    }
    window.addToolBar(bar);
    bar->setVisible(ReadWindowChoices().toolBar);
    QObject::connect(bar->toggleViewAction(), &QAction::triggered, bar, [](bool shown) {
        WindowChoices choices = ReadWindowChoices();
        choices.toolBar = shown;
        WriteWindowChoices(choices);
    });
    return bar;
}

}  // namespace vorela
