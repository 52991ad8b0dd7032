#include "ztk/foundation/internal/node_pool.h"

#include <windows.h>

#include <atomic>
#include <cstdint>

namespace {

enum class SlotState { kNotMade, kMade, kNone };
constinit SlotState s_slotState = SlotState::kNotMade;
constinit DWORD s_slot = FLS_OUT_OF_INDEXES;
// Giving up the slot calls what is called at the end of a thread, for every thread.
constinit std::atomic<bool> s_isForgetting{false};
using EndThreadCall = void (*)() noexcept;
constinit EndThreadCall s_endThread = nullptr;

void WINAPI OnEndOfThread(void*) noexcept {
  if (!s_isForgetting.load(std::memory_order_relaxed)) s_endThread();
}

// Others may reserve what was just found free before it is reserved again.
constexpr int kTries = 64;

}  // namespace

void* ZTKNodePool::XPAllocate(std::size_t nAlignment, std::size_t nSize) noexcept {
  for (int i = 0; i < kTries; ++i) {
    void* const room = VirtualAlloc(nullptr, nAlignment + nSize, MEM_RESERVE, PAGE_READWRITE);
    if (room == nullptr) return nullptr;
    const std::size_t before = (0 - reinterpret_cast<std::uintptr_t>(room)) % nAlignment;
    void* const block = static_cast<char*>(room) + before;
    VirtualFree(room, 0, MEM_RELEASE);
    if (VirtualAlloc(block, nSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE) != nullptr)
      return block;
    if (GetLastError() == ERROR_COMMITMENT_LIMIT) return nullptr;
  }
  return nullptr;
}

void ZTKNodePool::XPFree(void* pBlock, std::size_t) noexcept {
  VirtualFree(pBlock, 0, MEM_RELEASE);
}

// There is no fork.
bool ZTKNodePool::XPWatchForks() noexcept { return true; }

bool ZTKNodePool::XPWatchThread() noexcept {
  if (s_slotState == SlotState::kNotMade) {
    s_endThread = EndThread;
    s_slot = FlsAlloc(OnEndOfThread);
    s_slotState = s_slot != FLS_OUT_OF_INDEXES ? SlotState::kMade : SlotState::kNone;
  }
  return s_slotState == SlotState::kMade && FlsSetValue(s_slot, &s_slot) != FALSE;
}

void ZTKNodePool::XPForgetThreads() noexcept {
  s_isForgetting.store(true, std::memory_order_relaxed);
  if (s_slotState == SlotState::kMade) FlsFree(s_slot);
  s_slotState = SlotState::kNone;
}
