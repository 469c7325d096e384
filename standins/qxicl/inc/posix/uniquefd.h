// Owner of one POSIX file descriptor: sockets, the wake-up event and connections are all closed on
// every way out.
#pragma once

namespace qxicl {

class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : m_fd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept;
    UniqueFd& operator=(UniqueFd&& other) noexcept;
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd();

    int Get() const { return m_fd; }
    bool IsValid() const { return m_fd >= 0; }
    void Reset(int fd = -1);

private:
    int m_fd = -1;
};

}  // namespace qxicl
