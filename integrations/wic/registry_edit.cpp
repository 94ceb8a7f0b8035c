#include "registry_edit.h"

#include <cstring>
#include <memory>
#include <ranges>
#include <string_view>
#include <type_traits>
#include <utility>

namespace koru_wic {
namespace {

// No key or value has a longer name.
constexpr std::size_t kMaxNameUnits = 16384;

struct KeyDeleter {
    void operator()(HKEY key) const noexcept { RegCloseKey(key); }
};
using KeyHandle = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyDeleter>;

void Registry_Check(LSTATUS code) {
    if (code != ERROR_SUCCESS) throw RegistryError{code};
}

/// Null if there is no such key.
KeyHandle Key_Open(HKEY root, const std::wstring& key, REGSAM access) {
    HKEY opened = nullptr;
    const LSTATUS code = RegOpenKeyExW(root, key.c_str(), 0, access, &opened);
    if (code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND) return nullptr;
    Registry_Check(code);
    return KeyHandle(opened);
}

KeyHandle Key_Create(HKEY root, const std::wstring& key, bool& isNew) {
    HKEY opened = nullptr;
    DWORD disposition = 0;
    Registry_Check(RegCreateKeyExW(root, key.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                                   &opened, &disposition));
    isNew = disposition == REG_CREATED_NEW_KEY;
    return KeyHandle(opened);
}

/// RegEnumKeyExW or RegEnumValueW: nothing behind the last one.
template <typename Enumerate>
std::optional<std::wstring> Key_GetName(HKEY key, Enumerate* enumerate) {
    std::wstring name(kMaxNameUnits, L'\0');
    auto count = static_cast<DWORD>(name.size());
    const LSTATUS code = enumerate(key, 0, name.data(), &count, nullptr, nullptr, nullptr, nullptr);
    if (code == ERROR_NO_MORE_ITEMS) return std::nullopt;
    Registry_Check(code);
    name.resize(count);
    return name;
}

LSTATUS Value_Set(HKEY key, const std::wstring& name, const RegistryData& data) noexcept {
    return RegSetValueExW(key, name.c_str(), 0, data.type, data.bytes.data(),
                          static_cast<DWORD>(data.bytes.size()));
}

RegistryData Data_FromUnits(DWORD type, std::wstring_view units) {
    RegistryData data{type, std::vector<std::uint8_t>(units.size() * sizeof(wchar_t))};
    std::memcpy(data.bytes.data(), units.data(), data.bytes.size());
    return data;
}

}  // namespace

RegistryData Data_FromText(std::wstring_view text) {
    return Data_FromUnits(REG_SZ, std::wstring(text) + L'\0');
}

RegistryData Data_FromNumber(std::uint32_t number) {
    RegistryData data{REG_DWORD, std::vector<std::uint8_t>(sizeof(number))};
    std::memcpy(data.bytes.data(), &number, sizeof(number));
    return data;
}

RegistryData Data_FromLines(const std::vector<std::wstring>& lines) {
    std::wstring units;
    for (const std::wstring& line : lines) units += line + L'\0';
    return Data_FromUnits(REG_MULTI_SZ, units + L'\0');
}

std::vector<std::wstring> Data_GetLines(const RegistryData& data) {
    std::wstring units(data.bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(units.data(), data.bytes.data(), units.size() * sizeof(wchar_t));
    std::vector<std::wstring> lines;
    for (std::size_t begin = 0; begin < units.size();) {
        std::wstring line(units.c_str() + begin);
        begin += line.size() + 1;
        if (!line.empty()) lines.push_back(std::move(line));
    }
    return lines;
}

RegistryEdit::~RegistryEdit() {
    for (const Step& step : std::views::reverse(steps_)) Apply(step);
}

// As far as it goes: there is nobody to tell of a second failure.
void RegistryEdit::Apply(const Step& step) const noexcept {
    if (step.undo == Step::Undo::DeleteKey) {
        RegDeleteKeyW(root_, step.key.c_str());
        return;
    }
    HKEY opened = nullptr;
    if (RegCreateKeyExW(root_, step.key.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &opened,
                        nullptr) != ERROR_SUCCESS) {
        return;
    }
    const KeyHandle key(opened);
    if (step.undo == Step::Undo::CreateKey) return;
    if (step.data) {
        Value_Set(key.get(), step.name, *step.data);
    } else {
        RegDeleteValueW(key.get(), step.name.c_str());
    }
}

std::vector<std::wstring> RegistryEdit::EnsureKey(const std::wstring& key) {
    std::vector<std::wstring> added;
    for (std::size_t end = 0; end != std::wstring::npos;) {
        end = key.find(L'\\', end + 1);
        std::wstring path = key.substr(0, end);
        // Keys of Windows may be readable only, though those below them are not.
        if (Key_Open(root_, path, KEY_READ) != nullptr) continue;
        steps_.reserve(steps_.size() + 1);  // what was done must be undone: no failure in between
        Step step{Step::Undo::DeleteKey, path, {}, {}};
        bool isNew = false;
        Key_Create(root_, path, isNew);
        if (!isNew) continue;
        steps_.push_back(std::move(step));
        added.push_back(std::move(path));
    }
    return added;
}

std::optional<RegistryData> RegistryEdit::GetValue(const std::wstring& key,
                                                   const std::wstring& name) const {
    const KeyHandle opened = Key_Open(root_, key, KEY_READ);
    if (opened == nullptr) return std::nullopt;
    RegistryData data;
    DWORD byteCount = 0;
    LSTATUS code =
        RegQueryValueExW(opened.get(), name.c_str(), nullptr, &data.type, nullptr, &byteCount);
    while (code == ERROR_SUCCESS || code == ERROR_MORE_DATA) {  // it may grow meanwhile
        data.bytes.resize(byteCount);
        code = RegQueryValueExW(opened.get(), name.c_str(), nullptr, &data.type, data.bytes.data(),
                                &byteCount);
        if (code == ERROR_SUCCESS) {
            data.bytes.resize(byteCount);
            return data;
        }
    }
    if (code == ERROR_FILE_NOT_FOUND) return std::nullopt;
    throw RegistryError{code};
}

void RegistryEdit::SetValue(const std::wstring& key, const std::wstring& name,
                            const RegistryData& data) {
    Step step{Step::Undo::RestoreValue, key, name, GetValue(key, name)};
    steps_.reserve(steps_.size() + 1);
    bool isNew = false;
    const KeyHandle opened = Key_Create(root_, key, isNew);
    Registry_Check(Value_Set(opened.get(), name, data));
    steps_.push_back(std::move(step));
}

void RegistryEdit::DeleteValue(const std::wstring& key, const std::wstring& name) {
    Step step{Step::Undo::RestoreValue, key, name, GetValue(key, name)};
    if (!step.data) return;
    steps_.reserve(steps_.size() + 1);
    const KeyHandle opened = Key_Open(root_, key, KEY_WRITE);
    Registry_Check(RegDeleteValueW(opened.get(), name.c_str()));
    steps_.push_back(std::move(step));
}

void RegistryEdit::DeleteEmptyKey(const std::wstring& key) {
    {
        const KeyHandle opened = Key_Open(root_, key, KEY_READ);
        if (opened == nullptr || Key_GetName(opened.get(), RegEnumKeyExW) ||
            Key_GetName(opened.get(), RegEnumValueW)) {
            return;
        }
    }
    Step step{Step::Undo::CreateKey, key, {}, {}};
    steps_.reserve(steps_.size() + 1);
    Registry_Check(RegDeleteKeyW(root_, key.c_str()));
    steps_.push_back(std::move(step));
}

void RegistryEdit::DeleteTree(const std::wstring& key) {
    {
        const KeyHandle opened = Key_Open(root_, key, KEY_READ);
        if (opened == nullptr) return;
        // The first one always: each goes away.
        while (const auto child = Key_GetName(opened.get(), RegEnumKeyExW)) {
            DeleteTree(key + L'\\' + *child);
        }
        while (const auto name = Key_GetName(opened.get(), RegEnumValueW)) {
            DeleteValue(key, *name);
        }
    }
    DeleteEmptyKey(key);
}

}  // namespace koru_wic
