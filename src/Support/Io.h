//===- Support/Io.h - Files, descriptors and sockets ------------*- C++ -*-===//
#ifndef VEMLO_SRC_SUPPORT_IO_H
#define VEMLO_SRC_SUPPORT_IO_H

#include <cstdio>

#include <sys/types.h>

namespace Vemlo {
namespace detail {

// Closes a FILE* on every way out of a scope.
class FileCloser {
public:
    explicit FileCloser(FILE* file) : m_file(file) {}
    ~FileCloser() {
        if (m_file)
            std::fclose(m_file);
    }
    FileCloser(const FileCloser&) = delete;
    FileCloser& operator=(const FileCloser&) = delete;
    // Closes now and gives fclose's result (0 when there was nothing open).
    int close() {
        FILE* file = m_file;
        m_file = nullptr;
        return file ? std::fclose(file) : 0;
    }

private:
    FILE* m_file;
};

// Closes a file descriptor on every way out of a scope.
class FdCloser {
public:
    explicit FdCloser(int fd) : m_fd(fd) {}
    ~FdCloser();
    FdCloser(const FdCloser&) = delete;
    FdCloser& operator=(const FdCloser&) = delete;
    // Closes now and gives close()'s result (0 when there was nothing open).
    int close();

private:
    int m_fd;
};

// Sends `length` bytes of `data` on `fd` until all went or send() gave a
// result below 1; returns the bytes sent. That result, when there was one,
// goes to *stoppedBy.
int sendAll(int fd, const char* data, int length, ssize_t* stoppedBy = nullptr);

} // namespace detail
} // namespace Vemlo

#endif // VEMLO_SRC_SUPPORT_IO_H
