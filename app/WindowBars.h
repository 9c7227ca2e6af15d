// The toolbar of the main window, and the choices of the window that are kept in [Window] beside its place.
#pragma once

#include <QList>
#include <QPair>
#include <QString>

class QAction;
class QMainWindow;
class QToolBar;

namespace vorela {

struct WindowChoices {
    bool toolBar = true;
    bool holdCursors = false;
};
WindowChoices ReadWindowChoices();
void WriteWindowChoices(const WindowChoices& choices);

/// Entries of the menus by objectName with their short captions; "" for a separator. Their tool tips name
/// the shortcuts. Shown as the user left it.
QToolBar* BuildToolBar(QMainWindow& window, const QList<QPair<QString, QString>>& entries);

/// "Select Data (Ctrl+D)".
QString ToolTipOf(const QAction& action);

}  // namespace vorela
