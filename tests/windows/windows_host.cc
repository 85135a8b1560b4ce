// A Windows host for kx_mkv.dll: loads the module the way the conversion host
// does (LoadLibraryW, exports by name and by ordinal), checks the module's
// export and import tables in the loaded image, walks both catalogues, and
// runs the scenarios shared with the Linux host.
//
// Usage: windows_host.exe MODULE OUT_DIR REPORT LOG
//   MODULE   path of kx_mkv.dll (YR_Log.DLL and YR_Utility.dll beside this
//            program, where the loader looks for a module's imports)
//   OUT_DIR  folder for the scenario files (made if missing)
//   REPORT   the scenarios' report, compared with the Linux host's
//   LOG      the host log of the scenarios; the table checks log into LOG.checks
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <set>
#include <string>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"
#include "tests/windows/checks.h"
#include "tests/windows/scenarios.h"

namespace {

// Prints one line per check and counts the failures.
using kx::testing::Checks;

std::string Narrow(const wchar_t* text) {
  std::string out;
  for (; *text; ++text) out.push_back(*text < 0x80 ? static_cast<char>(*text) : '?');
  return out;
}

// GetProcAddress returns a generic function pointer; going through
// void (*)() says the conversion to the real type is intended.
template <typename Function>
Function As(FARPROC address) {
  return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(address));
}

bool SameAsciiNoCase(const char* a, const char* b) { return lstrcmpiA(a, b) == 0; }

// Windows' own DLLs; the module may import from these and from the two host
// libraries, nothing else (no libstdc++, libgcc or winpthread DLL).
bool IsSystemDll(const char* name) {
  static const char* const kSystem[] = {"KERNEL32.dll", "msvcrt.dll", "USER32.dll",
                                        "ADVAPI32.dll", "ntdll.dll",  "ucrtbase.dll"};
  for (const char* system : kSystem) {
    if (SameAsciiNoCase(name, system)) return true;
  }
  return _strnicmp(name, "api-ms-win-", 11) == 0;
}

void SetLog(const std::wstring& path) {
  DeleteFileW(path.c_str());
  std::wstring assignment = L"YR_LOG_FILE=" + path;
  _wputenv(assignment.c_str());
}

std::string ReadFile(const std::wstring& path) {
  std::string text;
  std::FILE* file = _wfopen(path.c_str(), L"rb");
  if (file == nullptr) return text;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0) text.append(buffer, n);
  std::fclose(file);
  return text;
}

struct Image {
  const uint8_t* base = nullptr;
  size_t size = 0;
  const IMAGE_NT_HEADERS64* nt = nullptr;

  bool Contains(const void* p) const {
    const auto* b = static_cast<const uint8_t*>(p);
    return b >= base && b < base + size;
  }
  template <typename T>
  const T* At(uint32_t rva) const {
    return reinterpret_cast<const T*>(base + rva);
  }
};

Image ImageOf(HMODULE module) {
  Image image;
  image.base = reinterpret_cast<const uint8_t*>(module);
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image.base);
  image.nt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(image.base + dos->e_lfanew);
  image.size = image.nt->OptionalHeader.SizeOfImage;
  return image;
}

void CheckHeaders(Checks& check, const Image& image) {
  const auto& file = image.nt->FileHeader;
  check(image.nt->Signature == IMAGE_NT_SIGNATURE, "PE signature");
  check(file.Machine == IMAGE_FILE_MACHINE_AMD64, "x86-64 image");
  check(image.nt->OptionalHeader.Magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC, "PE32+ image");
  check((file.Characteristics & IMAGE_FILE_DLL) != 0, "image is a DLL");
}

void CheckExports(Checks& check, const Image& image, FARPROC by_name_2, FARPROC by_name_3) {
  const auto& dir = image.nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  check(dir.VirtualAddress != 0, "export directory present");
  if (dir.VirtualAddress == 0) return;
  const auto* exports = image.At<IMAGE_EXPORT_DIRECTORY>(dir.VirtualAddress);
  check(SameAsciiNoCase(image.At<char>(exports->Name), "kx_mkv.dll"), "export DLL name kx_mkv.dll");
  check(exports->Base == 2, "ordinal base 2");
  check(exports->NumberOfFunctions == 2, "two export address entries");
  check(exports->NumberOfNames == 2, "two export names");
  if (exports->NumberOfFunctions != 2 || exports->NumberOfNames != 2) return;
  const auto* functions = image.At<uint32_t>(exports->AddressOfFunctions);
  const auto* names = image.At<uint32_t>(exports->AddressOfNames);
  const auto* ordinals = image.At<uint16_t>(exports->AddressOfNameOrdinals);
  static const char* const kNames[2] = {"GetFileFormats", "GetFileMultiStreamFormats"};
  const FARPROC expected[2] = {by_name_2, by_name_3};
  for (int i = 0; i < 2; ++i) {
    const char* name = image.At<char>(names[i]);
    check(std::strcmp(name, kNames[i]) == 0, std::string("export name ") + kNames[i]);
    check(ordinals[i] + exports->Base == static_cast<DWORD>(2 + i),
          std::string(kNames[i]) + " at ordinal " + std::to_string(2 + i));
    check(image.base + functions[ordinals[i]] == reinterpret_cast<const uint8_t*>(expected[i]),
          std::string(kNames[i]) + " address matches GetProcAddress");
  }
}

void CheckImports(Checks& check, const Image& image, HMODULE yr_log, HMODULE yr_utility) {
  const auto& dir = image.nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  check(dir.VirtualAddress != 0, "import directory present");
  if (dir.VirtualAddress == 0) return;
  bool saw_log = false;
  bool saw_utility = false;
  for (const auto* d = image.At<IMAGE_IMPORT_DESCRIPTOR>(dir.VirtualAddress); d->Name != 0; ++d) {
    const char* dll = image.At<char>(d->Name);
    const auto* names =
        image.At<IMAGE_THUNK_DATA64>(d->OriginalFirstThunk ? d->OriginalFirstThunk : d->FirstThunk);
    const auto* bound = image.At<IMAGE_THUNK_DATA64>(d->FirstThunk);
    if (SameAsciiNoCase(dll, "YR_Log.DLL")) {
      saw_log = true;
      std::set<unsigned> seen;
      bool all_by_ordinal = true;
      bool bound_right = true;
      for (size_t i = 0; names[i].u1.AddressOfData != 0; ++i) {
        if (!IMAGE_SNAP_BY_ORDINAL64(names[i].u1.Ordinal)) {
          all_by_ordinal = false;
          continue;
        }
        const unsigned ordinal = static_cast<unsigned>(IMAGE_ORDINAL64(names[i].u1.Ordinal));
        seen.insert(ordinal);
        const FARPROC target = GetProcAddress(yr_log, MAKEINTRESOURCEA(ordinal));
        if (reinterpret_cast<ULONGLONG>(target) != bound[i].u1.Function) bound_right = false;
      }
      check(all_by_ordinal, "YR_Log.DLL imported by ordinal only");
      check(seen == std::set<unsigned>{1, 2}, "YR_Log.DLL ordinals are exactly 1 and 2");
      check(bound_right, "YR_Log.DLL imports bound to the stand-in's functions");
    } else if (SameAsciiNoCase(dll, "YR_Utility.dll")) {
      saw_utility = true;
      std::vector<std::string> imported;
      bool bound_right = true;
      for (size_t i = 0; names[i].u1.AddressOfData != 0; ++i) {
        if (IMAGE_SNAP_BY_ORDINAL64(names[i].u1.Ordinal)) {
          imported.push_back("#" + std::to_string(IMAGE_ORDINAL64(names[i].u1.Ordinal)));
          continue;
        }
        const auto* by_name =
            image.At<IMAGE_IMPORT_BY_NAME>(static_cast<uint32_t>(names[i].u1.AddressOfData));
        imported.emplace_back(reinterpret_cast<const char*>(by_name->Name));
        const FARPROC target = GetProcAddress(yr_utility, imported.back().c_str());
        if (reinterpret_cast<ULONGLONG>(target) != bound[i].u1.Function) bound_right = false;
      }
      check(imported == std::vector<std::string>{"cpu_num_processors"},
            "YR_Utility.dll: cpu_num_processors by name, nothing else");
      check(bound_right, "YR_Utility.dll import bound to the stand-in's function");
    } else {
      check(IsSystemDll(dll), std::string("imports from system DLL ") + dll);
    }
  }
  check(saw_log, "imports from YR_Log.DLL");
  check(saw_utility, "imports from YR_Utility.dll");
}

bool SameText(const char16_t* field, const char16_t* expected, size_t units) {
  size_t n = 0;
  while (expected[n]) ++n;
  if (n >= units) return false;
  for (size_t i = 0; i < units; ++i) {
    if (field[i] != (i < n ? expected[i] : 0)) return false;
  }
  return true;
}

bool ListOk(const Image& image, const CodecList* list) {
  if (!image.Contains(list)) return false;
  for (int i = 0; i < 64; ++i) {
    if (list[i] == 0) return i > 0;
    if ((list[i] >> 32) != 0) return false;
  }
  return false;
}

bool AllZero(const void* p, size_t size) {
  const auto* b = static_cast<const uint8_t*>(p);
  for (size_t i = 0; i < size; ++i) {
    if (b[i] != 0) return false;
  }
  return true;
}

struct RowText {
  uint32_t fourcc;
  const char16_t* extension;
  const char16_t* name;
  const char16_t* description;
};

const RowText kRows[5] = {
    {KX_FOURCC('K', 'M', 'K', 'V'), u".mkv", u"MKV", u"MKV File"},
    {KX_FOURCC('M', 'K', 'V', ' '), u".mkv", u"MKV", u"MKV File"},
    {KX_FOURCC('H', 'M', 'K', 'V'), u".mkv", u"MKV", u"MKV File"},
    {KX_FOURCC('M', 'K', 'A', ' '), u".mka", u"MKA", u"MKA File"},
    {KX_FOURCC('W', 'E', 'B', 'M'), u".webm", u"WEBM", u"WEBM File"},
};

template <typename Row>
bool RowTextOk(const Row& row, const RowText& text) {
  return row.fourcc == text.fourcc && SameText(row.extension, text.extension, 10) &&
         SameText(row.name, text.name, 64) && SameText(row.description, text.description, 128);
}

// The tables are in the module's data, hold pointers that the loader had to
// relocate, and must look the same here as on Linux.
void CheckSingleCatalogue(Checks& check, const Image& image, const FileFormat* table) {
  check(image.Contains(table), "single-stream table inside the module");
  bool texts = true;
  bool lists = true;
  bool functions = true;
  for (int i = 0; i < 5; ++i) {
    const FileFormat& row = table[i];
    const bool audio_only = i == 3;
    texts = texts && RowTextOk(row, kRows[i]);
    lists = lists && ListOk(image, row.audioCodecs) &&
            (audio_only ? row.videoCodecs == nullptr : ListOk(image, row.videoCodecs));
    const void* always[] = {reinterpret_cast<const void*>(row.CreateMediaFile),
                            reinterpret_cast<const void*>(row.WriteAudioData),
                            reinterpret_cast<const void*>(row.CloseMediaFile),
                            reinterpret_cast<const void*>(row.WriteAudioExtraData)};
    const void* video[] = {reinterpret_cast<const void*>(row.WriteVideoData),
                           reinterpret_cast<const void*>(row.WriteVideoExtraData),
                           reinterpret_cast<const void*>(row.SetDisplayAspectRatio)};
    for (const void* f : always) functions = functions && image.Contains(f);
    for (const void* f : video) functions = functions && (audio_only ? !f : image.Contains(f));
    functions = functions && row.CreateMediaFile == table[0].CreateMediaFile &&
                row.CloseMediaFile == table[0].CloseMediaFile;
    check(row.flag == (i == 0 ? 1u : 0u), "single-stream flag of row " + std::to_string(i));
  }
  check(texts, "single-stream rows: FourCCs, extensions, names, descriptions");
  check(lists, "single-stream codec lists inside the module, MKA without video");
  check(functions, "single-stream function pointers inside the module, MKA without video");
  check(AllZero(&table[5], sizeof(FileFormat)), "single-stream table ends with a zero record");
}

void CheckMultiCatalogue(Checks& check, const Image& image, const FileMultiStreamFormat* table) {
  check(image.Contains(table), "multi-stream table inside the module");
  bool texts = true;
  bool lists = true;
  bool functions = true;
  for (int i = 0; i < 5; ++i) {
    const FileMultiStreamFormat& row = table[i];
    texts = texts && RowTextOk(row, kRows[i]);
    lists = lists && ListOk(image, row.audioCodecs) &&
            (i == 3 ? row.videoCodecs == nullptr : ListOk(image, row.videoCodecs));
    const void* all[] = {reinterpret_cast<const void*>(row.CreateMediaFileMultiStream),
                         reinterpret_cast<const void*>(row.AddStreamInfoMultiStream),
                         reinterpret_cast<const void*>(row.InitMediaFileMultiStream),
                         reinterpret_cast<const void*>(row.WriteSampleMultiStream),
                         reinterpret_cast<const void*>(row.CloseMediaFileMultiStream),
                         reinterpret_cast<const void*>(row.WriteExtraDataMultiStream)};
    for (const void* f : all) functions = functions && image.Contains(f);
    functions = functions && row.reserved == nullptr &&
                row.InitMediaFileMultiStream == table[0].InitMediaFileMultiStream;
    check(row.flag == 1, "multi-stream flag of row " + std::to_string(i));
  }
  check(texts, "multi-stream rows: FourCCs, extensions, names, descriptions");
  check(lists, "multi-stream codec lists inside the module, MKA without video");
  check(functions, "multi-stream function pointers inside the module, reserved null");
  check(AllZero(&table[5], sizeof(FileMultiStreamFormat)),
        "multi-stream table ends with a zero record");
}

std::wstring FullPath(const wchar_t* path) {
  wchar_t buffer[MAX_PATH * 4];
  const DWORD n = GetFullPathNameW(path, static_cast<DWORD>(std::size(buffer)), buffer, nullptr);
  return n > 0 && n < std::size(buffer) ? std::wstring(buffer, n) : std::wstring(path);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: windows_host.exe MODULE OUT_DIR REPORT LOG\n");
    return 2;
  }
  const std::wstring module_path = FullPath(argv[1]);
  const std::wstring out_dir = FullPath(argv[2]);
  const std::wstring report_path = FullPath(argv[3]);
  const std::wstring log_path = FullPath(argv[4]);
  const std::wstring checks_log = log_path + L".checks";
  Checks check;

  SetLog(checks_log);
  HMODULE module = LoadLibraryW(module_path.c_str());
  check(module != nullptr, "LoadLibraryW " + Narrow(module_path.c_str()));
  if (module == nullptr) {
    std::printf("error %lu\n", GetLastError());
    return 1;
  }
  HMODULE yr_log = GetModuleHandleW(L"YR_Log.DLL");
  HMODULE yr_utility = GetModuleHandleW(L"YR_Utility.dll");
  check(yr_log != nullptr && yr_utility != nullptr, "host libraries loaded with the module");

  // The stand-in must have the real library's shape: ordinals, no names.
  check(yr_log && GetProcAddress(yr_log, MAKEINTRESOURCEA(1)) != nullptr &&
            GetProcAddress(yr_log, MAKEINTRESOURCEA(2)) != nullptr &&
            GetProcAddress(yr_log, "HostLogText") == nullptr &&
            GetProcAddress(yr_log, "HostLogFormat") == nullptr,
        "YR_Log.DLL exports ordinals 1 and 2 without names");

  const FARPROC single_by_name = GetProcAddress(module, "GetFileFormats");
  const FARPROC multi_by_name = GetProcAddress(module, "GetFileMultiStreamFormats");
  const FARPROC single_by_ordinal = GetProcAddress(module, MAKEINTRESOURCEA(2));
  const FARPROC multi_by_ordinal = GetProcAddress(module, MAKEINTRESOURCEA(3));
  check(single_by_name != nullptr && multi_by_name != nullptr, "exports found by name");
  check(single_by_ordinal == single_by_name, "GetFileFormats is ordinal 2");
  check(multi_by_ordinal == multi_by_name, "GetFileMultiStreamFormats is ordinal 3");
  check(GetProcAddress(module, MAKEINTRESOURCEA(1)) == nullptr &&
            GetProcAddress(module, MAKEINTRESOURCEA(4)) == nullptr,
        "no ordinal 1 or 4");
  if (single_by_name == nullptr || multi_by_name == nullptr) return 1;

  const Image image = ImageOf(module);
  CheckHeaders(check, image);
  CheckExports(check, image, single_by_name, multi_by_name);
  CheckImports(check, image, yr_log, yr_utility);

  using GetSingle = const FileFormat* (*)();
  using GetMulti = const FileMultiStreamFormat* (*)();
  const auto get_single = As<GetSingle>(single_by_name);
  const auto get_multi = As<GetMulti>(multi_by_name);
  const FileFormat* single = get_single();
  const FileMultiStreamFormat* multi = get_multi();
  check(As<GetSingle>(single_by_ordinal)() == single && As<GetMulti>(multi_by_ordinal)() == multi,
        "both ways of calling return the same tables");
  CheckSingleCatalogue(check, image, single);
  CheckMultiCatalogue(check, image, multi);

  // The exports log through ordinals 1 and 2; swapped ordinals would log the
  // format text unformatted.
  const std::string log = ReadFile(checks_log);
  check(log.rfind("kx_mkv.dll: Return file formats...\nkx_mkv: GetFileMultiStreamFormats... \n",
                  0) == 0,
        "the exports' log lines reached the host log, formatted");

  CreateDirectoryW(out_dir.c_str(), nullptr);
  std::FILE* report = _wfopen(report_path.c_str(), L"wb");
  check(report != nullptr, "report file opened");
  if (report == nullptr) return 1;
  SetLog(log_path);
  static_assert(sizeof(wchar_t) == sizeof(char16_t), "UTF-16 wide characters");
  const std::wstring dir = out_dir + L"\\";
  const int failures =
      KxRunScenarios(single, multi, reinterpret_cast<const char16_t*>(dir.c_str()), report);
  std::fclose(report);
  check(failures == 0, "scenarios ran without failed checks (" + std::to_string(failures) + ")");

  FreeLibrary(module);
  std::printf("windows_host: %d failed checks\n", check.failed());
  return check.failed() == 0 ? 0 : 1;
}
