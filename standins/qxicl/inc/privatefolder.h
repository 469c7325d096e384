// The folder that holds the endpoints of one user: $XDG_RUNTIME_DIR/qxicl, or /tmp/qxicl-<uid> when
// the runtime folder is not set. Only a folder that nobody but its owner can enter is used, so that
// no other user can plant an endpoint or listen in on one.
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace qxicl {

class PrivateFolder {
public:
    // The folder, checked to be a directory (not a link) owned by this user with mode 0700. With
    // create set a missing folder is created so; nothing when the folder cannot be used.
    static std::optional<PrivateFolder> Open(bool create);

    // The socket file of a pipe. A name too long for a socket address keeps its beginning and gets
    // "~" and a hash of the whole name, a file name no valid pipe name can have; nothing when even
    // that does not fit.
    std::optional<std::string> SocketPath(const std::string& pipeName) const;

    const std::string& Path() const { return m_path; }

private:
    explicit PrivateFolder(std::string path) : m_path(std::move(path)) {}
    std::string m_path;
};

}  // namespace qxicl
