// What every entry point of a shared object is run by: no exception gets out of it.
#pragma once

#include <exception>
#include <new>

namespace qel::codecs {

/// Runs the work of an entry point. When it throws, `tell` is called with the reason and the result is 0.
template <class Work, class Tell>
auto Guarded(const Work &work, const Tell &tell) -> decltype(work()) {
  try {
    return work();
  } catch (const std::bad_alloc &) {
    tell("there is not enough memory");
  } catch (const std::exception &exception) {
    tell(exception.what());
  }
  return {};
}

}  // namespace qel::codecs
