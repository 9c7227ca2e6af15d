// What the working modules need from whoever shows things: message boxes, questions, progress, status text
// and the save dialog. Implementations: Qt (app/), console (ConsolePorts.h), scripted (tests/support/).
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vorela {

enum class MessageIcon { critical = 1, exclamation, information };

/// Modal boxes. Carriage returns ("\r") in `text` are line breaks of the box.
class MessagePort {
  public:
    virtual ~MessagePort() = default;
    /// A box with the single button OK.
    virtual void Show(MessageIcon icon, const std::string& title, const std::string& text) = 0;
    /// A question with the buttons Yes and No and the question icon; true on Yes.
    virtual bool AskYesNo(const std::string& title, const std::string& text) = 0;
};

/// A bar with whole ticks.
class ProgressPort {
  public:
    virtual ~ProgressPort() = default;
    virtual void SetRange(int minimum, int maximum) = 0;
    virtual int Maximum() const = 0;
    virtual int Value() const = 0;
    virtual void SetValue(int value) = 0;
    /// The work goes on: a window may show what has changed.
    virtual void Pulse() {}
};

class StatusPort {
  public:
    virtual ~StatusPort() = default;
    /// Shown at once; nothing else happens meanwhile.
    virtual void SetText(const std::string& text) = 0;
    virtual std::string Text() const = 0;
};

struct SaveFileChoice {
    std::string path;
    int filterIndex = 1;  ///< 1-based position in the filter list.
};

struct SaveFileRequest {
    std::string title;
    std::string filter;  ///< "Name (*.a)|*.a|Name (*.b)|*.b|"
    int filterIndex = 1;
    std::string proposed{};  ///< path without ending; the folder counts until a file was saved elsewhere
    std::vector<std::string> inputs{};  ///< files that the program reads: never to be written over
};

class SaveFilePort {
  public:
    virtual ~SaveFilePort() = default;
    /// Asks before overwriting, requires an existing folder and refuses the request's inputs; nothing when
    /// cancelled.
    virtual std::optional<SaveFileChoice> AskSaveFile(const SaveFileRequest& request) = 0;
};

/// The set in use. Process-wide; a test puts its own in place. Never null: the initial ports are silent and
/// answer No, and nothing is shown.
struct Ports {
    MessagePort* messages = nullptr;
    ProgressPort* progress = nullptr;
    StatusPort* status = nullptr;
    SaveFilePort* saveFile = nullptr;
};

Ports& CurrentPorts();

}  // namespace vorela
