// Changes of the registry that happen together or not at all.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace koru_wic {

/// Thrown by RegistryEdit.
struct RegistryError {
    LSTATUS code;
};

struct RegistryData {
    DWORD type = REG_NONE;
    std::vector<std::uint8_t> bytes;

    bool operator==(const RegistryData&) const = default;
};

/// Text as REG_SZ; a comparison with what the registry has is then one of bytes.
[[nodiscard]] RegistryData Data_FromText(std::wstring_view text);
[[nodiscard]] RegistryData Data_FromNumber(std::uint32_t number);
/// REG_MULTI_SZ. Lines are not empty.
[[nodiscard]] RegistryData Data_FromLines(const std::vector<std::wstring>& lines);
[[nodiscard]] std::vector<std::wstring> Data_GetLines(const RegistryData& data);

/// Undoes its changes at its end, in reverse order, unless they were kept. Keys are paths below one
/// that exists and is borrowed.
class RegistryEdit {
  public:
    explicit RegistryEdit(HKEY root) noexcept : root_(root) {}
    ~RegistryEdit();
    RegistryEdit(const RegistryEdit&) = delete;
    RegistryEdit& operator=(const RegistryEdit&) = delete;

    /// Creates the key with all that are above it. Returns the paths that were not there.
    std::vector<std::wstring> EnsureKey(const std::wstring& key);

    [[nodiscard]] std::optional<RegistryData> GetValue(const std::wstring& key,
                                                       const std::wstring& name) const;
    void SetValue(const std::wstring& key, const std::wstring& name, const RegistryData& data);
    void DeleteValue(const std::wstring& key, const std::wstring& name);

    /// Deletes a key that has neither values nor keys below it; others stay.
    void DeleteEmptyKey(const std::wstring& key);
    /// Deletes a key with all below it, if it is there.
    void DeleteTree(const std::wstring& key);

    void Keep() noexcept { steps_.clear(); }

  private:
    /// How to undo a change.
    struct Step {
        enum class Undo { DeleteKey, CreateKey, RestoreValue };
        Undo undo;
        std::wstring key, name;
        std::optional<RegistryData> data;  // none: there was no value
    };
    void Apply(const Step& step) const noexcept;

    HKEY root_;
    std::vector<Step> steps_;
};

}  // namespace koru_wic
