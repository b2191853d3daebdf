// What the tool asks of the operating system beyond the standard library. One implementation per
// platform, in posix/ and nt386/; both read and write bytes untranslated.
#ifndef VDXCONV_PLATFORM_H
#define VDXCONV_PLATFORM_H

#include <cstddef>
#include <cstdint>

namespace vdxconv {

enum { kStandardInput = 0, kStandardOutput = 1, kStandardError = 2 };

// Makes a closed pipe a write error instead of the end of the process, and standard streams binary.
void prepare_streams();

// A descriptor, or -1 with errno set. Creating empties a file that exists.
int open_to_read(const char* path);
int open_to_create(const char* path);

// Bytes read, 0 at the end, -1 with errno set. Returns what is there; waits only for the first.
int64_t read_some(int descriptor, uint8_t* to, std::size_t room);

// False with errno set when not everything could be written.
bool write_all(int descriptor, const uint8_t* from, std::size_t size);

// False with errno set: some systems report a full disk only here.
bool close_file(int descriptor);

bool is_terminal(int descriptor);

// Bytes of a regular file, -1 for everything else.
int64_t file_size(int descriptor);

// Whether the path names the open file, under this or another name. Only regular files count:
// writing to a terminal or null device destroys nothing.
bool same_file(int descriptor, const char* path);

}  // namespace vdxconv

#endif
