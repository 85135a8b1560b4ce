// The two static format catalogues the exports hand to the host.
#ifndef KX_PLUGIN_CATALOGUE_H_
#define KX_PLUGIN_CATALOGUE_H_

#include <cstdint>

#include "include/kx_mkv/kx_mkv.h"

namespace kx {

const FileFormat* SingleStreamCatalogue();
const FileMultiStreamFormat* MultiStreamCatalogue();

// The single-stream row whose FourCC is `fourcc`, or null. This is the
// module's own list of accepted containers, for both interfaces.
const FileFormat* FindFileFormat(uint32_t fourcc);

}  // namespace kx

#endif  // KX_PLUGIN_CATALOGUE_H_
