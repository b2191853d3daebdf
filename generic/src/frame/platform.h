// What the library needs of the platform; posix/src and nt386/src each supply it. Names of files
// and values of the environment are bytes on POSIX and UTF-8 on Windows.
#ifndef VDX_FRAME_PLATFORM_H
#define VDX_FRAME_PLATFORM_H

#include <cstddef>
#include <cstdint>
#include <ctime>

namespace vdx {

// The exit after the report of a failed check: raises SIGABRT, or a structured exception of code 0.
// The caller's handler may leave; without one the process ends. If resumable, the handler may also
// return, and then this function returns. If not, stderr is closed first, once in a process, and
// nothing returns.
void fatal_exit(bool resumable);

// Breaks the current time down as local time. Returns false where the platform cannot tell.
bool local_time(std::tm& now);

// A file opened for reading; the descriptor or handle is the platform's own.
inline constexpr std::intptr_t kNoFile = -1;

// Opens a regular file: under its zero-terminated name as it is, then with a slash for every
// backslash. Does not wait, whatever the name leads to; programs that the process starts do not
// inherit the file. kNoFile where neither name is a regular file that can be read.
std::intptr_t open_file(const char* name);

// Reads up to size bytes. Returns how many, 0 at the end, -1 for a failure.
std::int64_t read_file(std::intptr_t file, void* buffer, std::size_t size);

void close_file(std::intptr_t file);

// Modes of std::fopen: write a new file, or append to one, that no program inherits.
#if defined(_WIN32)
inline constexpr char kWriteMode[] = "wN";
inline constexpr char kAppendMode[] = "aN";
#else
inline constexpr char kWriteMode[] = "we";
inline constexpr char kAppendMode[] = "ae";
#endif

// Parses of files take turns. Waits until the turn is the caller's, who must not have it. A thread
// that ended while it had the turn, killed for example, has left it to the next.
void take_parse_turn();
void release_parse_turn();
bool has_parse_turn();  // whether the calling thread has it

// Copies up to size bytes of an environment variable's value, without a terminator, and returns how
// many; 0 where it is unset or empty, and in a set-user-id or set-group-id program, whose user must
// not choose its files.
std::size_t read_environment(const char* name, char* buffer, std::size_t size);

// Copies up to size bytes of the full name of the running program's file, without a terminator, and
// returns how many; 0 where the platform cannot tell.
std::size_t executable_name(char* buffer, std::size_t size);

}  // namespace vdx

#endif
