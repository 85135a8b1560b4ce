// Loading the module the way the conversion host does: dlopen, then the
// single-stream catalogue through GetFileFormats; everything else goes
// through the function pointers of the chosen row.
#ifndef KX_TOOLS_KXMUX_MODULE_H_
#define KX_TOOLS_KXMUX_MODULE_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "include/kx_mkv/kx_mkv.h"

namespace kxmux {

class Module {
 public:
  // Loads the shared object at `path`. On failure returns nullopt with the
  // loader's reason in *error.
  static std::optional<Module> Load(const std::string& path, std::string* error);

  // The catalogue row for a container FourCC, or null.
  [[nodiscard]] const FileFormat* FindRow(uint32_t fourcc) const;
  // The multi-stream catalogue row for a container FourCC, or null.
  [[nodiscard]] const FileMultiStreamFormat* FindMultiRow(uint32_t fourcc) const;

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  struct Closer {
    void operator()(void* handle) const;
  };

  Module(std::unique_ptr<void, Closer> handle, const FileFormat* table,
         const FileMultiStreamFormat* multi_table, std::string path)
      : handle_(std::move(handle)),
        table_(table),
        multi_table_(multi_table),
        path_(std::move(path)) {}

  std::unique_ptr<void, Closer> handle_;
  const FileFormat* table_;
  const FileMultiStreamFormat* multi_table_;  // null when not exported
  std::string path_;
};

// Where the module is looked for when --module is not given: next to the
// executable, in the library directory of an installed tree, then up to two
// directories above the executable (the top of the build tree when kxmux runs
// from tools/kxmux/ there). Returns the first that exists, or the first
// candidate when none does.
std::string DefaultModulePath(const std::string& executable_dir);

}  // namespace kxmux

#endif  // KX_TOOLS_KXMUX_MODULE_H_
