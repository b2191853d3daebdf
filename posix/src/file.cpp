// Files, environment variables and the program's name on POSIX, where all of them are bytes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "frame/platform.h"

namespace vdx {
namespace {

// What may be no regular file is opened without waiting, and looked at: a FIFO would wait for its
// writer, and a device might never end.
std::intptr_t open_readable(const char* name) {
  const int file = open(name, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
  if (file < 0) return kNoFile;
  struct stat status;
  if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
    fcntl(file, F_SETFL, 0);  // some file systems would not wait for their data otherwise
    return file;
  }
  close(file);
  return kNoFile;
}

// Null in a program that runs with more rights than its user, who chose the environment.
const char* trusted_variable(const char* name) {
#if defined(__linux__)
  return secure_getenv(name);
#else
  const bool is_plain = getuid() == geteuid() && getgid() == getegid();
  return is_plain ? std::getenv(name) : nullptr;
#endif
}

}  // namespace

std::intptr_t open_file(const char* name) {
  const std::intptr_t file = open_readable(name);
  if (file != kNoFile) return file;
  char slashed[1024];
  const std::size_t length = std::strlen(name);
  if (length >= sizeof slashed || std::strchr(name, '\\') == nullptr) return kNoFile;
  for (std::size_t i = 0; i <= length; ++i) slashed[i] = name[i] == '\\' ? '/' : name[i];
  return open_readable(slashed);
}

std::int64_t read_file(std::intptr_t file, void* buffer, std::size_t size) {
  for (;;) {
    const ssize_t got = read(static_cast<int>(file), buffer, size);
    if (got >= 0 || errno != EINTR) return got;
  }
}

void close_file(std::intptr_t file) { close(static_cast<int>(file)); }

std::size_t read_environment(const char* name, char* buffer, std::size_t size) {
  const char* value = trusted_variable(name);
  if (value == nullptr) return 0;
  const std::size_t length = strnlen(value, size);
  std::memcpy(buffer, value, length);
  return length;
}

std::size_t executable_name(char* buffer, std::size_t size) {
  const ssize_t length = readlink("/proc/self/exe", buffer, size);
  return length < 0 ? 0 : static_cast<std::size_t>(length);
}

}  // namespace vdx
