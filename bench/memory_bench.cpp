// What temporary blocks, small images and guarded accesses cost beside the heap and a plain call.
#include <cstdlib>
#include <memory>

#include "pair.h"
#include "qel/image/image.h"
#include "qel/mem/mem.h"
#include "qel/platform/kernel/fault_guard.h"

namespace {

using bench::Repeat;
using bench::Touch;

/// A pair of malloc and free that the compiler cannot leave out.
bench::Work HeapPair(std::size_t nBytes) {
  return Repeat([nBytes] {
    void *p = std::malloc(nBytes);
    Touch(p);
    std::free(p);
  });
}

bench::Works TemporaryBlock() {
  constexpr unsigned long kBytes = 4096;
  return {Repeat([] {
            PMem mem;
            Touch(mem.AllocMemory(GMEM_MOVEABLE, kBytes));
          }),
          HeapPair(kBytes)};
}

bench::Works SmallImage(int nType) {
  return {Repeat([nType] {
            PQel image;
            image.CreateImage(nType, 16, 16, 0, nullptr, 2835, 2835, 1, 0, 0);
            Touch(&image);
          }),
          HeapPair(2048)};
}

__attribute__((noinline)) void PlainCall(int *p) {
  *p += 1;
  Touch(p);
}

int GiveUp(void *, EXCEPTION_POINTERS *) {
  return EXCEPTION_EXECUTE_HANDLER;
}

bench::Works Guard() {
  auto count = std::make_shared<int>(0);
  return {Repeat([p = count.get(), count] { qel::kernel::Guarded(GiveUp, nullptr, [p] { PlainCall(p); }); }),
          Repeat([p = count.get(), count] { PlainCall(p); })};
}

const bench::PairsAtStart g_pairs([] {
  bench::AddPair({"memory/temporary 4 KiB : malloc", 3, 0, TemporaryBlock});
  bench::AddPair({"memory/image 16x16 24-bit : malloc", 20, 0, [] { return SmallImage(1); }});
  bench::AddPair({"memory/image 16x16 8-bit : malloc", 20, 0, [] { return SmallImage(3); }});
  bench::AddPair({"memory/guarded call : call", 0, 0, Guard});
});

}  // namespace
