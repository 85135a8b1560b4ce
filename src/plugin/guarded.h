// No exception may cross into the host: running out of memory while queueing
// or rewriting makes an entry point report failure (0) instead.
#ifndef KX_PLUGIN_GUARDED_H_
#define KX_PLUGIN_GUARDED_H_

#include <exception>
#include <type_traits>

namespace kx {

template <typename Call, typename Result = std::invoke_result_t<Call>>
Result Guarded(Call call) {
  try {
    return call();
  } catch (const std::exception&) {
    if constexpr (!std::is_void_v<Result>) {
      return Result{};
    }
  }
}

}  // namespace kx

#endif  // KX_PLUGIN_GUARDED_H_
