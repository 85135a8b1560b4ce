#include "tools/kxmux/module.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <cstdlib>
#include <vector>

namespace kxmux {

void Module::Closer::operator()(void* handle) const {
  if (handle != nullptr) {
    dlclose(handle);
  }
}

std::optional<Module> Module::Load(const std::string& path, std::string* error) {
  // A bare name would make dlopen search the library path instead of the
  // file the user named.
  const std::string name = path.find('/') == std::string::npos ? "./" + path : path;
  std::unique_ptr<void, Closer> handle(dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!handle) {
    const char* reason = dlerror();
    *error =
        "cannot load the module " + path + ": " + (reason != nullptr ? reason : "unknown reason");
    return std::nullopt;
  }
  using GetFileFormatsFunc = const FileFormat* (*)();
  void* symbol = dlsym(handle.get(), "GetFileFormats");
  if (symbol == nullptr) {
    *error = "the module " + path + " does not export GetFileFormats";
    return std::nullopt;
  }
  const auto get_file_formats = reinterpret_cast<GetFileFormatsFunc>(symbol);
  const FileFormat* table = get_file_formats();
  if (table == nullptr) {
    *error = "GetFileFormats of " + path + " returned no catalogue";
    return std::nullopt;
  }
  using GetFileMultiStreamFormatsFunc = const FileMultiStreamFormat* (*)();
  const auto get_multi = reinterpret_cast<GetFileMultiStreamFormatsFunc>(
      dlsym(handle.get(), "GetFileMultiStreamFormats"));
  const FileMultiStreamFormat* multi_table = get_multi != nullptr ? get_multi() : nullptr;
  // Shown in kxmux's summary: the file actually loaded, without "../".
  std::unique_ptr<char, decltype(&std::free)> resolved(realpath(name.c_str(), nullptr), &std::free);
  return Module(std::move(handle), table, multi_table,
                resolved ? std::string(resolved.get()) : path);
}

const FileFormat* Module::FindRow(uint32_t fourcc) const {
  for (const FileFormat* row = table_; row->fourcc != 0; ++row) {
    if (row->fourcc == fourcc) {
      return row;
    }
  }
  return nullptr;
}

const FileMultiStreamFormat* Module::FindMultiRow(uint32_t fourcc) const {
  for (const FileMultiStreamFormat* row = multi_table_; row != nullptr && row->fourcc != 0; ++row) {
    if (row->fourcc == fourcc) {
      return row;
    }
  }
  return nullptr;
}

std::string DefaultModulePath(const std::string& executable_dir) {
  const std::vector<std::string> candidates = {
      executable_dir + "/libkx_mkv.so",
      executable_dir + "/" KXMUX_INSTALLED_MODULE,
      executable_dir + "/../libkx_mkv.so",
      executable_dir + "/../../libkx_mkv.so",
  };
  for (const std::string& candidate : candidates) {
    struct stat info {};
    if (stat(candidate.c_str(), &info) == 0 && S_ISREG(info.st_mode)) {
      return candidate;
    }
  }
  return candidates.front();
}

}  // namespace kxmux
