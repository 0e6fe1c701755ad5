#include "image/dib.h"

#include <sys/mman.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace ochrel {

namespace {
// A single image may not claim more than this; it keeps a corrupt size or a
// dimension bomb from taking the whole machine with it.
constexpr std::size_t kDefaultLimit = std::size_t{4} << 30;
constexpr std::size_t kMapThreshold = std::size_t{256} << 10;
std::atomic<std::size_t> g_limit{kDefaultLimit};
}  // namespace

void SetAllocationLimit(std::size_t bytes) { g_limit = bytes ? bytes : kDefaultLimit; }
std::size_t GetAllocationLimit() { return g_limit; }

std::unique_ptr<MemBlock> MemBlock::Allocate(std::size_t bytes) {
  if (bytes == 0 || bytes > g_limit) return nullptr;
  std::uint8_t* p = nullptr;
  bool mapped = false;
  if (bytes >= kMapThreshold) {
    void* m = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m == MAP_FAILED) return nullptr;
#ifdef MADV_HUGEPAGE
    madvise(m, bytes, MADV_HUGEPAGE);
#endif
    p = static_cast<std::uint8_t*>(m);
    mapped = true;
  } else {
    p = static_cast<std::uint8_t*>(std::calloc(1, bytes));
    if (!p) return nullptr;
  }
  auto* block = new (std::nothrow) MemBlock(p, bytes, mapped);
  if (!block) {
    if (mapped) munmap(p, bytes);
    else std::free(p);
    return nullptr;
  }
  return std::unique_ptr<MemBlock>(block);
}

MemBlock::~MemBlock() {
  if (mapped_) munmap(data_, size_);
  else std::free(data_);
}

}  // namespace ochrel
