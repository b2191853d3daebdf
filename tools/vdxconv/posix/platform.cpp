#include "../platform.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace vdxconv {

void prepare_streams() { std::signal(SIGPIPE, SIG_IGN); }

int open_to_read(const char* path) { return ::open(path, O_RDONLY | O_CLOEXEC); }

int open_to_create(const char* path) {
  return ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
}

int64_t read_some(int descriptor, uint8_t* to, std::size_t room) {
  for (;;) {
    const ssize_t got = ::read(descriptor, to, room);
    if (got >= 0 || errno != EINTR) return got;
  }
}

bool write_all(int descriptor, const uint8_t* from, std::size_t size) {
  while (size > 0) {
    const ssize_t put = ::write(descriptor, from, size);
    if (put < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    from += put;
    size -= static_cast<std::size_t>(put);
  }
  return true;
}

bool close_file(int descriptor) { return ::close(descriptor) == 0; }

bool is_terminal(int descriptor) { return ::isatty(descriptor) == 1; }

int64_t file_size(int descriptor) {
  struct stat about;
  if (::fstat(descriptor, &about) != 0 || !S_ISREG(about.st_mode)) return -1;
  return about.st_size;
}

bool same_file(int descriptor, const char* path) {
  struct stat one;
  struct stat other;
  return ::fstat(descriptor, &one) == 0 && ::stat(path, &other) == 0 && S_ISREG(one.st_mode) &&
         one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

}  // namespace vdxconv
