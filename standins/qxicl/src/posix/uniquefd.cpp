#include "uniquefd.h"

#include <unistd.h>

#include <utility>

namespace qxicl {

UniqueFd::UniqueFd(UniqueFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept
{
    if (this != &other) {
        Reset(std::exchange(other.m_fd, -1));
    }
    return *this;
}

UniqueFd::~UniqueFd()
{
    Reset();
}

void UniqueFd::Reset(int fd)
{
    if (m_fd >= 0) {
        ::close(m_fd);
    }
    m_fd = fd;
}

}  // namespace qxicl
