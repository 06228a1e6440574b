#include "run/OutputFile.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <set>
#include <utility>

#include "Errors.h"
#include "media/FileNames.h"

namespace tool {

namespace fs = std::filesystem;

namespace {

/// Guards every step between a name and a file, so that the end of the process falls before or after it.
std::mutex lock;
std::set<std::string> unfinished;

/// The mode of a new file; asking is only possible by setting it.
mode_t NewFileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

/// The end of a chain of links, which need not exist.
std::string FollowLinks(const std::string& path) {
    fs::path at = path;
    std::error_code error;
    for (int links = 0; links < 40 && fs::is_symlink(at, error); ++links) {
        const fs::path next = fs::read_symlink(at, error);
        if (error) {
            break;
        }
        at = next.is_absolute() ? next : at.parent_path() / next;
    }
    return at.string();
}

}  // namespace

OutputFile::OutputFile(std::string newPath) : path(std::move(newPath)) {
    if (path == kStandardStream) {
        descriptor = STDOUT_FILENO;
        return;
    }
    target = FollowLinks(path);
    struct stat there = {};
    const bool exists = stat(target.c_str(), &there) == 0;
    if (exists && S_ISDIR(there.st_mode)) {
        Fail(EISDIR);
    }
    if (exists && !S_ISREG(there.st_mode)) {
        // A pipe blocks here until somebody reads it.
        descriptor = open(target.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor < 0) {
            Fail(errno);
        }
        return;
    }
    // What may not be written may not be replaced either.
    if (exists && access(target.c_str(), W_OK) != 0) {
        Fail(errno);
    }
    std::string name = (fs::path(target).parent_path() / ".tesselu-XXXXXX").string();
    const std::lock_guard guard(lock);
    descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0) {
        Fail(errno);
    }
    temporary = name;
    unfinished.insert(temporary);
    if (fchmod(descriptor, exists ? there.st_mode & 07777 : NewFileMode()) != 0) {
        Fail(errno);
    }
}

OutputFile::~OutputFile() {
    if (descriptor >= 0 && descriptor != STDOUT_FILENO) {
        close(descriptor);
    }
    if (temporary.empty()) {
        return;
    }
    const std::lock_guard guard(lock);
    unlink(temporary.c_str());
    unfinished.erase(temporary);
}

void OutputFile::Write(const void* bytes, std::size_t size) {
    const char* at = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t written = write(descriptor, at, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            Fail(written < 0 ? errno : EIO);
        }
        at += written;
        size -= static_cast<std::size_t>(written);
    }
}

long long OutputFile::Seek(long long offset, int whence) {
    return lseek(descriptor, offset, whence);
}

void OutputFile::Keep() {
    if (descriptor == STDOUT_FILENO) {
        return;
    }
    const int closed = close(std::exchange(descriptor, -1));
    if (closed != 0) {
        Fail(errno);
    }
    if (temporary.empty()) {
        return;
    }
    const std::lock_guard guard(lock);
    if (std::rename(temporary.c_str(), target.c_str()) != 0) {
        Fail(errno);
    }
    unfinished.erase(temporary);
    temporary.clear();
}

void OutputFile::RemoveUnfinished() {
    lock.lock();  // for good
    for (const std::string& name : unfinished) {
        unlink(name.c_str());
    }
}

void OutputFile::Fail(int error) const {
    throw Failure((path == kStandardStream ? "standard output" : path) + ": cannot be written (" +
                  std::strerror(error) + ")");
}

}  // namespace tool
