// The actions of the main window one at a time: menu entries, tab updates and timer passes.
#pragma once

#include <functional>

#include "general/RepeatedMessages.h"

namespace vorela {

class QtPorts;

class ActionRunner {
  public:
    struct Calls {
        std::function<bool()> settle;         ///< what is being edited is taken; false: it cannot be
        std::function<void(bool on)> enable;  ///< the menus
        std::function<void()> ended;          ///< what had to wait for the end of an action
    };
    ActionRunner(QtPorts& ports, Calls calls);

    bool IsRunning() const { return running_; }

    /// Runs one action: the menus are disabled, the cursor is the wait cursor, a second action and the timer
    /// wait, and keys pressed meanwhile are dropped. Refused while another action runs.
    void Run(const std::function<void()>& action);
    /// While `body` runs, no action begins.
    void RunAlone(const std::function<void()>& body);

    /// What was said since the last action began.
    RepeatedMessages& Said() { return said_; }

  private:
    void RunWithoutInput(const std::function<void()>& action);

    QtPorts& ports_;
    Calls calls_;
    RepeatedMessages said_;
    bool running_ = false;
};

}  // namespace vorela
