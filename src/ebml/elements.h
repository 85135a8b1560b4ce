// Every element class of the writer, for code that builds whole files.
#ifndef KX_EBML_ELEMENTS_H_
#define KX_EBML_ELEMENTS_H_

#include "src/ebml/ansi.h"          // IWYU pragma: export
#include "src/ebml/audio.h"         // IWYU pragma: export
#include "src/ebml/binary.h"        // IWYU pragma: export
#include "src/ebml/block_group.h"   // IWYU pragma: export
#include "src/ebml/blocks.h"        // IWYU pragma: export
#include "src/ebml/child_list.h"    // IWYU pragma: export
#include "src/ebml/cid.h"           // IWYU pragma: export
#include "src/ebml/cluster.h"       // IWYU pragma: export
#include "src/ebml/colour.h"        // IWYU pragma: export
#include "src/ebml/cues.h"          // IWYU pragma: export
#include "src/ebml/ebml_header.h"   // IWYU pragma: export
#include "src/ebml/element_ids.h"   // IWYU pragma: export
#include "src/ebml/info.h"          // IWYU pragma: export
#include "src/ebml/length.h"        // IWYU pragma: export
#include "src/ebml/master.h"        // IWYU pragma: export
#include "src/ebml/projection.h"    // IWYU pragma: export
#include "src/ebml/scalars.h"       // IWYU pragma: export
#include "src/ebml/seek.h"          // IWYU pragma: export
#include "src/ebml/segment.h"       // IWYU pragma: export
#include "src/ebml/simple_var.h"    // IWYU pragma: export
#include "src/ebml/track_entry.h"   // IWYU pragma: export
#include "src/ebml/tracks.h"        // IWYU pragma: export
#include "src/ebml/utf8.h"          // IWYU pragma: export
#include "src/ebml/video.h"         // IWYU pragma: export
#include "src/ebml/void_element.h"  // IWYU pragma: export

#endif  // KX_EBML_ELEMENTS_H_
