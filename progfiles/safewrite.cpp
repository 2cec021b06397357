#include "progfiles/safewrite.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane {

namespace {

std::string failtext(const std::string& path, int err)
{
    return "Cannot write the file " + path + ": " + std::strerror(err) + ".";
}

bool fail(std::string* error, const std::string& path, int err)
{
    if (error != nullptr)
        *error = failtext(path, err);
    return false;
}

bool writeall(int fd, std::string_view data)
{
    const char* p = data.data();
    size_t left = data.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, p, left);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        p += n;
        left -= static_cast<size_t>(n);
    }
    return true;
}

} // namespace

bool writefilesafely(const std::string& path, std::string_view data, std::string* error)
{
    namespace fs = std::filesystem;
    std::error_code ec;
    fs::path target(path);
    // Saving through a symbolic link replaces the file it points at, not the link.
    if (fs::is_symlink(target, ec)) {
        fs::path resolved = fs::canonical(target, ec);
        if (!ec)
            target = resolved;
    }
    if (fs::is_directory(target, ec))
        return fail(error, path, EISDIR);
    if (target.filename().empty())
        return fail(error, path, ENOENT);

    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    static std::atomic<unsigned> serial{0};
    std::string tempname;
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        std::string leaf(1, '.');
        leaf += target.filename().string();
        leaf += ".tmp";
        leaf += std::to_string(::getpid());
        leaf += '-';
        leaf += std::to_string(serial++);
        tempname = (folder / leaf).string();
        fd = ::open(tempname.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST)
            return fail(error, path, errno);
    }
    if (fd < 0)
        return fail(error, path, EEXIST);

    // A replaced file keeps its permissions; a new one gets the usual ones of the user.
    struct stat old {};
    if (::stat(target.c_str(), &old) == 0)
        (void)::fchmod(fd, old.st_mode & 07777);

    int err = 0;
    if (!writeall(fd, data))
        err = errno;
    if (err == 0 && ::fsync(fd) != 0 && errno != EINVAL && errno != EROFS)
        err = errno;
    if (::close(fd) != 0 && err == 0)
        err = errno;
    if (err == 0 && ::rename(tempname.c_str(), target.c_str()) != 0)
        err = errno;
    if (err != 0) {
        ::unlink(tempname.c_str());
        return fail(error, path, err);
    }
    return true;
}

} // namespace kelvane
