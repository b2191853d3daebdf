// Paths of the product's files, and the environment variables that they depend on.
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "frame/check.h"
#include "frame/platform.h"
#include "vdxcomn/config.h"

namespace vdx {
namespace {

constexpr std::size_t kLongestVariable = 256;  // that com_getenv gives
constexpr std::int32_t kNoHome = -1;
constexpr std::int32_t kHomeFailed = -301;
constexpr std::size_t kTclSize = 512;

char tcl_path[kTclSize];  // empty: not set

// A path in the caller's buffer, always zero-terminated. After a piece that does not fit nothing is
// added. Variables are read into the buffer itself, so that only the buffer limits their length.
class Path {
 public:
  Path(char* buffer, std::int32_t size) : buffer_(buffer), size_(static_cast<std::size_t>(size)) {
    buffer_[0] = '\0';
  }

  // Starts the path with a text, cut if it is too long.
  void start(std::string_view text) {
    fits_ = text.size() < size_;
    put(text.substr(0, size_ - 1));
  }

  // Starts the path with the value of a variable. Returns whether it is set.
  bool start_with(const char* variable) {
    const std::size_t length = read_environment(variable, buffer_, size_);
    fits_ = length < size_;
    length_ = fits_ ? length : size_ - 1;
    buffer_[length_] = '\0';
    return length != 0;
  }

  void add(std::string_view name) {
    fits_ = fits_ && length_ + 1 + name.size() < size_;
    if (!fits_) return;
    put("\\");
    put(name);
  }

  // Returns 0, or the negative code of what is missing.
  std::int32_t start_at_home(vdx_context* context) {
    if (start_with("VERDEX")) return 0;
    if (context != nullptr) context->os_error = kNoHome;
    return kNoHome;
  }

  void add_subdirectory() {
    // With room 0 nothing is read: no further piece fits, so nothing is lost by that.
    const std::size_t room = size_ - 1 - length_;
    const std::size_t length = read_environment("VERDEX_NCL", buffer_ + length_ + 1, room);
    if (length == 0) return;
    fits_ = fits_ && length < room;
    if (!fits_) return;
    buffer_[length_] = '\\';
    length_ += 1 + length;
    buffer_[length_] = '\0';
  }

  bool fits() const { return fits_; }
  std::size_t length() const { return length_; }

 private:
  void put(std::string_view text) {
    std::memcpy(buffer_ + length_, text.data(), text.size());
    length_ += text.size();
    buffer_[length_] = '\0';
  }

  char* buffer_;
  std::size_t size_;
  std::size_t length_ = 0;
  bool fits_ = true;
};

}  // namespace
}  // namespace vdx

using vdx::Path;

extern "C" {

void com_path_cfgfile(vdx_context* context, const char* file, char* buffer, std::int32_t size,
                      std::int32_t subdirectory) {
  VDX_CHECK_POINTER(file, );
  VDX_CHECK_POINTER(buffer, );
  VDX_ASSERT(size > 0, );
  Path path(buffer, size);
  if (path.start_at_home(context) < 0) return;
  if (subdirectory != 0) path.add_subdirectory();
  path.add("ini");
  path.add(file);
}

std::int32_t com_path_ifile(vdx_context* context, char* buffer, std::int32_t size) {
  VDX_CHECK_POINTER(buffer, VDX_TRACE(0));
  VDX_ASSERT(size > 0, VDX_TRACE(0));
  Path path(buffer, size);
  if (!path.start_with("VDXNCL_IFILE")) {
    if (path.start_at_home(context) < 0) return VDX_TRACE(vdx::kHomeFailed);
    path.add("ini\\sql.ini");
  }
  return VDX_TRACE(path.fits() ? 1 : 0);
}

void com_path_anyfile(char* buffer, std::int32_t size, const char* first, const char* second,
                      std::int32_t subdirectory) {
  VDX_CHECK_POINTER(buffer, );
  VDX_ASSERT(size > 0, );
  Path path(buffer, size);
  if (path.start_at_home(nullptr) < 0) return;
  if (subdirectory == 1) path.add_subdirectory();
  if (first != nullptr) path.add(first);
  if (second != nullptr) path.add(second);
}

std::int32_t com_path_charfile(vdx_context* context, const char* charset, const char* file,
                               const char* subfile, char* buffer, std::int32_t size) {
  VDX_CHECK_POINTER(buffer, VDX_TRACE(0));
  VDX_ASSERT(size > 0, VDX_TRACE(0));
  Path path(buffer, size);
  if (path.start_at_home(context) < 0) return VDX_TRACE(vdx::kHomeFailed);
  path.add("charsets");
  if (charset != nullptr) path.add(charset);
  if (file != nullptr) {
    path.add(file);
    if (subfile != nullptr) path.add(subfile);
  }
  return VDX_TRACE(path.fits() ? 1 : 0);
}

std::int32_t com_path_msgfile(vdx_context* context, const char* language, const void*,
                              const char* file, std::int32_t file_length, char* buffer,
                              std::int32_t size) {
  VDX_CHECK_POINTER(language, VDX_TRACE(0));
  VDX_CHECK_POINTER(file, VDX_TRACE(0));
  VDX_CHECK_POINTER(buffer, VDX_TRACE(0));
  VDX_ASSERT(size > 0, VDX_TRACE(0));
  VDX_ASSERT(file_length >= 0 || file_length == VDX_NULLTERM, VDX_TRACE(0));
  Path path(buffer, size);
  if (path.start_at_home(context) < 0) return VDX_TRACE(vdx::kHomeFailed);
  path.add("locales");
  path.add("message");
  path.add(language);
  path.add(file_length == VDX_NULLTERM
               ? std::string_view(file)
               : std::string_view(file, static_cast<std::size_t>(file_length)));
  return VDX_TRACE(path.fits() ? 1 : 0);
}

std::int32_t com_get_tclcfg(char* buffer, std::int32_t size) {
  VDX_CHECK_POINTER(buffer, VDX_TRACE(0));
  VDX_ASSERT(size > 0, VDX_TRACE(0));
  Path path(buffer, size);
  if (vdx::tcl_path[0] != '\0') {
    path.start(vdx::tcl_path);
  } else if (!path.start_with("VDXNCL_TCL_CFG") && !path.start_with("VERDEX_TCL_CFG") &&
             path.start_at_home(nullptr) == 0) {
    path.add_subdirectory();
    path.add("ini");
    path.add("libtcl.cfg");
  }
  return VDX_TRACE(path.fits() ? static_cast<std::int32_t>(path.length()) : 0);
}

std::int32_t com_set_tclcfg(const char* path) {
  if (path == nullptr) path = "";
  const std::size_t length = std::strlen(path);
  if (length >= vdx::kTclSize) return VDX_TRACE(0);
  std::memcpy(vdx::tcl_path, path, length + 1);
  return VDX_TRACE(1);
}

char* com_getenv(const char* name) {
  if (name == nullptr) return nullptr;
  char value[vdx::kLongestVariable];
  const std::size_t length = vdx::read_environment(name, value, sizeof value);
  if (length == 0) return nullptr;
  char* copy = static_cast<char*>(std::malloc(length + 1));
  if (copy == nullptr) return nullptr;
  std::memcpy(copy, value, length);
  copy[length] = '\0';
  return copy;
}

}  // extern "C"
