// Makes the server known to COM, WIC and the Explorer, for all users of the machine.
#pragma once

#include <windows.h>

namespace koru_wic {

/// Writes everything or, on failure, nothing. What other programs have set for an extension stays.
/// Registering again, from another folder too, renews the server's own keys.
[[nodiscard]] HRESULT Registration_Add();

/// Removes what registering wrote, unless another program has changed it since. Succeeds when there
/// is nothing to remove.
[[nodiscard]] HRESULT Registration_Remove();

}  // namespace koru_wic
