// UTF-16 <-> UTF-8 conversion for the host's wide texts (file names, log
// arguments) and the module's UTF-8 text elements.
#ifndef KX_PLATFORM_UTF16_H_
#define KX_PLATFORM_UTF16_H_

#include <string>
#include <string_view>

namespace kx::platform {

// Converts UTF-16 to UTF-8. Surrogate pairs are joined; an unpaired surrogate
// becomes U+FFFD. Stops at the end of the view (embedded NULs are kept).
std::string Utf16ToUtf8(std::u16string_view text);

// Converts UTF-8 to UTF-16; malformed sequences become U+FFFD.
std::u16string Utf8ToUtf16(std::string_view text);

// Length of a NUL-terminated UTF-16 text; 0 for null.
size_t Utf16Length(const char16_t* text);

}  // namespace kx::platform

#endif  // KX_PLATFORM_UTF16_H_
