#include "app/ActionRunner.h"

#include <QApplication>
#include <QEvent>
#include <QScopedValueRollback>
#include <utility>

#include "app/QtPorts.h"
#include "general/modGeneral.h"

namespace vorela {
namespace {

constexpr const char* stepAction = "Running an action of the main window";

/// Keys and mouse clicks that arrived while an action ran are not meant for what the window shows afterwards.
class InputDropper final : public QObject {
  public:
    InputDropper() { qApp->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        switch (event->type()) {
            case QEvent::KeyPress:
            case QEvent::KeyRelease:
            case QEvent::Shortcut:
            case QEvent::ShortcutOverride:
            case QEvent::MouseButtonPress:
            case QEvent::MouseButtonRelease:
            case QEvent::MouseButtonDblClick:
            case QEvent::Wheel:
                return true;
            default:
                return false;
        }
    }
};

}  // namespace

ActionRunner::ActionRunner(QtPorts& ports, Calls calls) : ports_(ports), calls_(std::move(calls)) {}

void ActionRunner::Run(const std::function<void()>& action) {
    if (running_ || !calls_.settle())
        return;
    RunAlone([&] { RunWithoutInput(action); });
}

void ActionRunner::RunAlone(const std::function<void()>& body) {
    {
        const QScopedValueRollback<bool> running(running_, true);
        body();
    }
    ports_.HideProgress();
    calls_.ended();
}

void ActionRunner::RunWithoutInput(const std::function<void()>& action) {
    calls_.enable(false);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    ports_.TakeRepainted();
    said_.Forget();
    {
        const OnceOnly told(said_, OnceOnly::Repeats::shown);
        Attempt(stepAction, action);
    }
    if (ports_.TakeRepainted()) {
        InputDropper dropper;
        QApplication::processEvents();
    }
    QApplication::restoreOverrideCursor();
    calls_.enable(true);
}

}  // namespace vorela
