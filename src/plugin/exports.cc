// The module's only two exports.
#include "host/yr_log.h"
#include "include/kx_mkv/kx_mkv.h"
#include "src/plugin/catalogue.h"

extern "C" KX_MKV_API const FileFormat* GetFileFormats(void) {
  HostLogFormat(u"kx_mkv.dll: Return file formats...");
  return kx::SingleStreamCatalogue();
}

extern "C" KX_MKV_API const FileMultiStreamFormat* GetFileMultiStreamFormats(void) {
  HostLogFormat(u"kx_%ls: GetFileMultiStreamFormats... \n", u"mkv");
  return kx::MultiStreamCatalogue();
}
