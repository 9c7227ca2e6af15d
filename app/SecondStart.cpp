#include "app/SecondStart.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <filesystem>

namespace vorela {
namespace {

constexpr int patience = 5000;                // ms
constexpr qint64 longestMessage = 1'000'000;  // bytes: what no list of files reaches

// A NUL ends each path: the one character that none holds. A message without it was broken off.
QByteArray MessageOf(const QStringList& files) {
    QByteArray message;
    for (const QString& file : files)
        message += file.toUtf8() + '\0';
    return message;
}

}  // namespace

std::string MeetingPlace(const std::string& lockFile) {
    return std::filesystem::path(lockFile).replace_extension(".socket").string();
}

QString HandOverFiles(const std::string& place, const QStringList& files) {
    QLocalSocket socket;
    socket.connectToServer(QString::fromStdString(place), QIODevice::WriteOnly);
    if (!socket.waitForConnected(patience))
        return socket.errorString();
    socket.write(MessageOf(files));
    while (socket.bytesToWrite() > 0)
        if (!socket.waitForBytesWritten(patience))
            return socket.errorString();
    socket.disconnectFromServer();
    return {};
}

FileTaker::FileTaker(const std::string& place, Taker take, QObject* parent)
    : QObject(parent), server_(new QLocalServer(this)), take_(std::move(take)) {
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    QLocalServer::removeServer(QString::fromStdString(place));  // left by one that was killed
    connect(server_, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* sender = server_->nextPendingConnection()) {
            connect(sender, &QLocalSocket::disconnected, this, [this, sender] { Receive(sender); });
            if (sender->state() == QLocalSocket::UnconnectedState)  // it had come and gone
                Receive(sender);
        }
    });
    server_->listen(QString::fromStdString(place));
}

QString FileTaker::Problem() const {
    return server_->isListening() ? QString() : server_->errorString();
}

void FileTaker::Receive(QLocalSocket* sender) {
    const QByteArray message = sender->read(longestMessage);
    sender->disconnect(this);
    sender->deleteLater();
    QStringList files;
    for (const QByteArray& path : message.split('\0'))
        if (!path.isEmpty() && message.endsWith('\0'))
            files << QString::fromUtf8(path);
    if (!files.isEmpty())
        take_(files);
}

}  // namespace vorela
