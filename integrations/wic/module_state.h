// What the DLL knows of itself: its users, its folder, and a lock without a destructor.
#pragma once

#include <windows.h>

#include <string>

namespace koru_wic {

/// Counts an object, or a lock of a class factory's: the DLL has to stay.
void Module_AddUse() noexcept;
void Module_RemoveUse() noexcept;
[[nodiscard]] bool Module_IsInUse() noexcept;

/// The DLL's own path, however long.
[[nodiscard]] std::wstring Module_GetPath();

/// A mutual exclusion that may be a global of a DLL: nothing of it runs when the DLL goes.
class SlimLock {
  public:
    void lock() noexcept { AcquireSRWLockExclusive(&lock_); }
    void unlock() noexcept { ReleaseSRWLockExclusive(&lock_); }

  private:
    SRWLOCK lock_ = SRWLOCK_INIT;
};

}  // namespace koru_wic
