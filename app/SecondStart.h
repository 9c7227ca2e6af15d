// A second start of the window: it ends at once, and what it was to open goes to the one that runs.
#pragma once

#include <QObject>
#include <QStringList>
#include <functional>
#include <string>

class QLocalServer;
class QLocalSocket;

namespace vorela {

/// Where the running window listens: beside the lock file of its instance, in the user's own folder.
std::string MeetingPlace(const std::string& lockFile);

/// Gives the files' absolute paths to the window that listens at `place`. "" or why it did not take them; a
/// window that is busy takes them once it is free.
QString HandOverFiles(const std::string& place, const QStringList& files);

/// Listens at `place`, whose owner the program must be (it holds the instance's lock).
class FileTaker : public QObject {
    Q_OBJECT
  public:
    using Taker = std::function<void(const QStringList& files)>;
    FileTaker(const std::string& place, Taker take, QObject* parent = nullptr);
    /// Why nothing can be handed over; "" when all is well.
    QString Problem() const;

  private:
    void Receive(QLocalSocket* sender);
    QLocalServer* server_;
    Taker take_;
};

}  // namespace vorela
