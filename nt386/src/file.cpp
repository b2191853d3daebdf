// Files, environment variables and the program's name. Texts are UTF-8 on this side of the system
// and UTF-16 on the other, so that no name depends on a code page.
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "frame/platform.h"

namespace vdx {
namespace {

constexpr int kLongestName = 1024;  // UTF-16 units
constexpr DWORD kLongestValue = 32767;

// Returns whether the zero-terminated text fits. One that is not UTF-8 is taken to be in the
// process's code page.
bool to_wide(const char* text, wchar_t* out, int size) {
  return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, -1, out, size) != 0 ||
         (GetLastError() == ERROR_NO_UNICODE_TRANSLATION &&
          MultiByteToWideChar(CP_ACP, 0, text, -1, out, size) != 0);
}

// Copies what fits, cut at any byte, and returns how many bytes that are.
std::size_t to_utf8(const wchar_t* text, char* out, std::size_t size) {
  std::size_t length = 0;
  while (*text != L'\0' && length < size) {
    const int units = IS_SURROGATE_PAIR(text[0], text[1]) ? 2 : 1;
    char bytes[4];
    const int got =
        WideCharToMultiByte(CP_UTF8, 0, text, units, bytes, sizeof bytes, nullptr, nullptr);
    const std::size_t taken = std::min(static_cast<std::size_t>(got), size - length);
    std::memcpy(out + length, bytes, taken);
    length += taken;
    text += units;
  }
  return length;
}

// Only files on a disk: a console, a device or a pipe could keep its reader waiting. No process that
// this one starts inherits the handle.
HANDLE open_readable(const wchar_t* name) {
  const HANDLE file =
      CreateFileW(name, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE || GetFileType(file) == FILE_TYPE_DISK) return file;
  CloseHandle(file);
  return INVALID_HANDLE_VALUE;
}

// A name of MAX_PATH and more is opened only in its full form, after this prefix.
HANDLE open_long(const wchar_t* name) {
  wchar_t full[4 + kLongestName] = L"\\\\?\\";
  const DWORD length = GetFullPathNameW(name, kLongestName, full + 4, nullptr);
  if (length == 0 || length >= kLongestName || full[5] != L':') return INVALID_HANDLE_VALUE;
  return open_readable(full);
}

}  // namespace

// Both kinds of slash separate folders here, so there is no second spelling to try.
std::intptr_t open_file(const char* name) {
  wchar_t wide[kLongestName];
  if (!to_wide(name, wide, kLongestName)) return kNoFile;
  HANDLE file = open_readable(wide);
  if (file == INVALID_HANDLE_VALUE && std::wcslen(wide) >= MAX_PATH - 1) file = open_long(wide);
  static_assert(sizeof file == sizeof(std::intptr_t));
  return reinterpret_cast<std::intptr_t>(file);
}
static_assert(kNoFile == -1, "what the system calls an invalid handle");

std::int64_t read_file(std::intptr_t file, void* buffer, std::size_t size) {
  DWORD got = 0;
  const auto room = static_cast<DWORD>(std::min<std::size_t>(size, 0x40000000));
  if (!ReadFile(reinterpret_cast<HANDLE>(file), buffer, room, &got, nullptr)) return -1;
  return got;
}

void close_file(std::intptr_t file) { CloseHandle(reinterpret_cast<HANDLE>(file)); }

std::size_t read_environment(const char* name, char* buffer, std::size_t size) {
  wchar_t wide_name[kLongestName];
  wchar_t short_value[kLongestName];
  if (!to_wide(name, wide_name, kLongestName)) return 0;
  const DWORD needed = GetEnvironmentVariableW(wide_name, short_value, kLongestName);
  if (needed == 0) return 0;
  if (needed < kLongestName) return to_utf8(short_value, buffer, size);
  // The system copies a value whole or not at all.
  auto* const value = static_cast<wchar_t*>(std::malloc(kLongestValue * sizeof(wchar_t)));
  if (value == nullptr) return 0;
  const DWORD length = GetEnvironmentVariableW(wide_name, value, kLongestValue);
  const std::size_t copied =
      length != 0 && length < kLongestValue ? to_utf8(value, buffer, size) : 0;
  std::free(value);
  return copied;
}

std::size_t executable_name(char* buffer, std::size_t size) {
  wchar_t name[kLongestName];
  const DWORD length = GetModuleFileNameW(nullptr, name, kLongestName);
  if (length == 0 || length >= kLongestName) return 0;
  return to_utf8(name, buffer, size);
}

}  // namespace vdx
