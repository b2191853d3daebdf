#include "../platform.h"

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>

namespace vdxconv {

namespace {

constexpr std::size_t kLargestTransfer = std::size_t{1} << 30;  // the calls count in an int

bool identity(HANDLE file, BY_HANDLE_FILE_INFORMATION* about) {
  return file != INVALID_HANDLE_VALUE && GetFileType(file) == FILE_TYPE_DISK &&
         GetFileInformationByHandle(file, about) != 0;
}

}  // namespace

void prepare_streams() {
  for (int stream : {kStandardInput, kStandardOutput, kStandardError}) _setmode(stream, _O_BINARY);
}

int open_to_read(const char* path) {
  int file = -1;
  if (_sopen_s(&file, path, _O_RDONLY | _O_BINARY, _SH_DENYNO, 0) == EACCES) {
    const DWORD attributes = GetFileAttributesA(path);
    const bool folder =
        attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    errno = folder ? EISDIR : EACCES;
  }
  return file;
}

int open_to_create(const char* path) {
  int file = -1;
  _sopen_s(&file, path, _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY, _SH_DENYNO,
           _S_IREAD | _S_IWRITE);
  return file;
}

int64_t read_some(int descriptor, uint8_t* to, std::size_t room) {
  return _read(descriptor, to, static_cast<unsigned>(std::min(room, kLargestTransfer)));
}

bool write_all(int descriptor, const uint8_t* from, std::size_t size) {
  while (size > 0) {
    const int put =
        _write(descriptor, from, static_cast<unsigned>(std::min(size, kLargestTransfer)));
    if (put <= 0) {
      // The runtime knows no name for a pipe whose reader is closing.
      for (const unsigned long closed :
           {ERROR_NO_DATA, ERROR_BROKEN_PIPE, ERROR_PIPE_NOT_CONNECTED})
        if (_doserrno == closed) errno = EPIPE;
      return false;
    }
    from += put;
    size -= static_cast<std::size_t>(put);
  }
  return true;
}

bool close_file(int descriptor) { return _close(descriptor) == 0; }

bool is_terminal(int descriptor) {
  DWORD mode = 0;
  return GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)), &mode) != 0;
}

int64_t file_size(int descriptor) {
  struct _stat64 about;
  if (_fstat64(descriptor, &about) != 0 || (about.st_mode & _S_IFREG) == 0) return -1;
  return about.st_size;
}

bool same_file(int descriptor, const char* path) {
  BY_HANDLE_FILE_INFORMATION one;
  BY_HANDLE_FILE_INFORMATION other;
  if (!identity(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)), &one)) return false;
  const HANDLE file = CreateFileA(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, 0, nullptr);
  const bool known = identity(file, &other);
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  return known && one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
         one.nFileIndexHigh == other.nFileIndexHigh && one.nFileIndexLow == other.nFileIndexLow;
}

}  // namespace vdxconv
