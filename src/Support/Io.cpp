//===- Support/Io.cpp - Files, descriptors and sockets --------------------===//
#include "Support/Io.h"

#include <sys/socket.h>
#include <unistd.h>

namespace Vemlo {
namespace detail {

FdCloser::~FdCloser() {
    if (m_fd >= 0)
        ::close(m_fd);
}

int FdCloser::close() {
    const int fd = m_fd;
    m_fd = -1;
    return fd >= 0 ? ::close(fd) : 0;
}

int sendAll(int fd, const char* data, int length, ssize_t* stoppedBy) {
    int done = 0;
    while (done < length) {
        const ssize_t sent = ::send(fd, data + done, static_cast<size_t>(length - done), 0);
        if (sent < 1) {
            if (stoppedBy)
                *stoppedBy = sent;
            break;
        }
        done += static_cast<int>(sent);
    }
    return done;
}

} // namespace detail
} // namespace Vemlo
