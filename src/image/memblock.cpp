#include "image/dib.h"

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
// A kept block is out of bounds until it is handed out again, so that a
// pointer left into a freed image is still reported.
#define OCHREL_KEPT_OFF(p, n) ASAN_POISON_MEMORY_REGION(p, n)
#define OCHREL_KEPT_ON(p, n) ASAN_UNPOISON_MEMORY_REGION(p, n)
#else
#define OCHREL_KEPT_OFF(p, n) ((void)0)
#define OCHREL_KEPT_ON(p, n) ((void)0)
#endif

namespace ochrel {

namespace {
// A single image may not claim more than this; it keeps a corrupt size or a
// dimension bomb from taking the whole machine with it.
constexpr std::size_t kDefaultLimit = std::size_t{4} << 30;
constexpr std::size_t kMapThreshold = std::size_t{256} << 10;
std::atomic<std::size_t> g_limit{kDefaultLimit};

// Freed blocks kept for reuse. A fresh mapping costs a page fault and a
// kernel clear per page on first touch, about 10 ms for a 12-megapixel
// picture, while an image's next result, a filter's preview or the copy an
// undo step takes is usually the same size as the last one freed. Only two
// blocks and a bounded total are kept, so idle memory stays small.
constexpr std::size_t kKeepMin = std::size_t{1} << 20;
constexpr std::size_t kKeepTotal = std::size_t{256} << 20;
constexpr int kKeepCount = 2;
struct Kept {
  std::uint8_t* data = nullptr;
  std::size_t length = 0;  // whole pages
};
std::mutex g_keptLock;
Kept g_kept[kKeepCount];  // [0] is the most recently freed

std::size_t PageLength(std::size_t bytes) {
  static const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return (bytes + page - 1) / page * page;
}

std::uint8_t* TakeKept(std::size_t bytes) {
  const std::size_t length = PageLength(bytes);
  std::lock_guard<std::mutex> hold(g_keptLock);
  for (int i = 0; i < kKeepCount; ++i) {
    if (!g_kept[i].data || g_kept[i].length != length) continue;
    std::uint8_t* p = g_kept[i].data;
    for (int j = i; j + 1 < kKeepCount; ++j) g_kept[j] = g_kept[j + 1];
    g_kept[kKeepCount - 1] = Kept{};
    OCHREL_KEPT_ON(p, length);
    return p;
  }
  return nullptr;
}

// Keeps a freed mapping if it is worth it; false when the caller must unmap it.
bool Keep(std::uint8_t* data, std::size_t bytes) {
  const std::size_t length = PageLength(bytes);
  if (length < kKeepMin || length > kKeepTotal / kKeepCount) return false;
  OCHREL_KEPT_OFF(data, length);
  Kept oldest;
  {
    std::lock_guard<std::mutex> hold(g_keptLock);
    oldest = g_kept[kKeepCount - 1];
    for (int j = kKeepCount - 1; j > 0; --j) g_kept[j] = g_kept[j - 1];
    g_kept[0] = Kept{data, length};
  }
  if (oldest.data) OCHREL_KEPT_ON(oldest.data, oldest.length), munmap(oldest.data, oldest.length);
  return true;
}

// Gives every kept block back, before a mapping is retried.
bool ReleaseKept() {
  Kept all[kKeepCount];
  {
    std::lock_guard<std::mutex> hold(g_keptLock);
    for (int i = 0; i < kKeepCount; ++i) all[i] = g_kept[i], g_kept[i] = Kept{};
  }
  bool any = false;
  for (const Kept& k : all)
    if (k.data) OCHREL_KEPT_ON(k.data, k.length), munmap(k.data, k.length), any = true;
  return any;
}

std::uint8_t* MapFresh(std::size_t bytes) {
  void* m = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (m == MAP_FAILED && ReleaseKept())
    m = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (m == MAP_FAILED) return nullptr;
#ifdef MADV_HUGEPAGE
  madvise(m, bytes, MADV_HUGEPAGE);
#endif
  return static_cast<std::uint8_t*>(m);
}

}  // namespace

void SetAllocationLimit(std::size_t bytes) { g_limit = bytes ? bytes : kDefaultLimit; }
std::size_t GetAllocationLimit() { return g_limit; }

std::unique_ptr<MemBlock> MemBlock::Create(std::size_t bytes, bool clear) {
  if (bytes == 0 || bytes > g_limit) return nullptr;
  std::uint8_t* p = nullptr;
  bool mapped = false;
  if (bytes >= kMapThreshold) {
    p = TakeKept(bytes);
    if (p && clear) std::memset(p, 0, bytes);
    if (!p) p = MapFresh(bytes);
    if (!p) return nullptr;
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

std::unique_ptr<MemBlock> MemBlock::Allocate(std::size_t bytes) { return Create(bytes, true); }
std::unique_ptr<MemBlock> MemBlock::AllocateUncleared(std::size_t bytes) { return Create(bytes, false); }

MemBlock::~MemBlock() {
  if (!mapped_) std::free(data_);
  else if (!Keep(data_, size_)) munmap(data_, size_);
}

}  // namespace ochrel
