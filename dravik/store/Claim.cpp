#include "dravik/store/Claim.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <set>
#include <utility>

#include "dravik/store/StoreError.h"
#include "interfaces/DKBase.h"

namespace dravik::store {
namespace {

// A claim is a listening socket in the abstract namespace, whose name nobody else can have until the holder's
// last descriptor is gone. A lock file would stay behind, and a lock on the database itself would, when it is
// closed, take SQLite's own locks of that file with it.
constexpr std::string_view namePrefix("\0dravik:", 8);
constexpr std::size_t longestClaim = 80;
/// Nobody accepts: each question for the holder stays in the queue.
constexpr int mostQuestions = 4096;

struct Address {
    sockaddr_un name{};
    socklen_t length = 0;
};

Address AddressOf(const std::string& path, std::string_view what) {
    struct stat file {};
    if (stat(path.c_str(), &file) != 0)
        throw StoreError{DK_DISK_ERROR, path + ": " + std::strerror(errno)};
    static_assert(namePrefix.size() + sizeof file.st_dev + sizeof file.st_ino + longestClaim <=
                  sizeof(sockaddr_un::sun_path));
    std::string name(namePrefix);
    name.append(reinterpret_cast<const char*>(&file.st_dev), sizeof file.st_dev);
    name.append(reinterpret_cast<const char*>(&file.st_ino), sizeof file.st_ino);
    name.append(what);
    Address address;
    address.name.sun_family = AF_UNIX;
    std::memcpy(address.name.sun_path, name.data(), name.size());
    address.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    return address;
}

class Socket {
  public:
    Socket() : descriptor_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
        if (descriptor_ < 0)
            throw StoreError{DK_UNSPECIFIED, std::string("no socket for a claim: ") + std::strerror(errno)};
    }
    ~Socket() {
        if (descriptor_ >= 0)
            close(descriptor_);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int Descriptor() const { return descriptor_; }
    int Release() { return std::exchange(descriptor_, -1); }

  private:
    int descriptor_;
};

std::int32_t HolderOf(const Address& address) {
    const Socket asking;
    ucred credentials{};
    socklen_t size = sizeof credentials;
    const auto* name = reinterpret_cast<const sockaddr*>(&address.name);
    const bool known = connect(asking.Descriptor(), name, address.length) == 0 &&
                       getsockopt(asking.Descriptor(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0;
    return known ? static_cast<std::int32_t>(credentials.pid) : 0;
}

std::set<std::int32_t>& OwnClaims() {
    static std::set<std::int32_t> claims;
    return claims;
}

}  // namespace

std::int32_t TakeClaim(const std::string& path, std::string_view what, std::int32_t& holder) {
    if (what.empty())
        throw StoreError{DK_NOT_UNDERSTOOD, "a claim needs a text"};
    if (what.size() > longestClaim)
        throw StoreError{DK_MAXIMUM, "the claim's text is too long"};
    const Address address = AddressOf(path, what);
    Socket claim;
    if (bind(claim.Descriptor(), reinterpret_cast<const sockaddr*>(&address.name), address.length) != 0) {
        if (errno != EADDRINUSE)
            throw StoreError{DK_UNSPECIFIED, std::string("a claim cannot be made: ") + std::strerror(errno)};
        holder = HolderOf(address);
        throw StoreError{DK_EXISTS, std::string(what) + " is claimed by process " + std::to_string(holder)};
    }
    // Listening makes the holder's process number known to who asks.
    static_cast<void>(listen(claim.Descriptor(), mostQuestions));
    OwnClaims().insert(claim.Descriptor());
    return claim.Release();
}

void EndClaim(std::int32_t claim) {
    if (OwnClaims().erase(claim) == 0)
        throw StoreError{DK_NOT_UNDERSTOOD, "not a claim"};
    close(claim);
}

}  // namespace dravik::store
