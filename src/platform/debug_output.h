// The debugger output channel (Windows: OutputDebugStringW).
#ifndef KX_PLATFORM_DEBUG_OUTPUT_H_
#define KX_PLATFORM_DEBUG_OUTPUT_H_

#include <functional>
#include <string_view>

namespace kx::platform {

// Sends a line to the debugger output; elsewhere than Windows to stderr.
void DebugOutput(std::u16string_view text);

// Tests capture the channel; an empty function restores the default.
void SetDebugOutputSink(std::function<void(std::u16string_view)> sink);

}  // namespace kx::platform

#endif  // KX_PLATFORM_DEBUG_OUTPUT_H_
