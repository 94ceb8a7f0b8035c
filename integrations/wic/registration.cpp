#include "registration.h"

#include <shlobj.h>

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "decoder_kinds.h"
#include "module_state.h"
#include "registry_edit.h"
#include "registry_layout.h"

namespace koru_wic {
namespace {

/// What the names in the tables stand for.
using Meanings = std::vector<std::pair<std::wstring_view, std::wstring>>;

struct FilledRow {
    std::wstring key, name;
    RegistryData data;
};

/// Something that registering added to a key of everybody: the key, or a value of text.
struct Addition {
    std::wstring key, name, text;
    bool isKey = false;

    bool operator==(const Addition&) const = default;
};

constexpr wchar_t kSeparator = L'|';  // in no name of ours

std::wstring Id_ToText(const GUID& id) {
    std::array<wchar_t, 40> text{};
    (void)StringFromGUID2(id, text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::wstring Text_Fill(std::wstring_view text, const Meanings& meanings) {
    std::wstring filled(text);
    for (const auto& [name, meaning] : meanings) {
        for (auto at = filled.find(name); at != std::wstring::npos;
             at = filled.find(name, at + meaning.size())) {
            filled.replace(at, name.size(), meaning);
        }
    }
    return filled;
}

FilledRow Row_Fill(const RegistryRow& row, const Meanings& meanings) {
    return {Text_Fill(row.key, meanings), std::wstring(row.name),
            row.type == RegistryRow::Type::Number ? Data_FromNumber(row.number)
                                                  : Data_FromText(Text_Fill(row.text, meanings))};
}

// Names that others begin with stand behind those; $dll is the last one, as a path may hold any
// name.
Meanings Meanings_OfServer() {
    return {{L"$thumbnail", Id_ToText(kThumbnailProviderId)},
            {L"$version", KORUTEX_WIC_VERSION},
            {L"$vendor", Id_ToText(kVendorId)},
            {L"$format", Id_ToText(kPixelFormatId)},
            {L"$dll", Module_GetPath()}};
}

std::wstring Extensions_Join(std::span<const FileExtension> extensions,
                             std::wstring_view FileExtension::*part) {
    std::wstring joined;
    for (const FileExtension& extension : extensions) {
        if (!joined.empty()) joined += L',';
        joined += extension.*part;
    }
    return joined;
}

Meanings Meanings_OfDecoder(const DecoderKind& kind) {
    Meanings meanings = {{L"$extensions", Extensions_Join(kind.extensions, &FileExtension::ending)},
                         {L"$mimes", Extensions_Join(kind.extensions, &FileExtension::mimeType)},
                         {L"$container", Id_ToText(kind.containerId)},
                         {L"$name", std::wstring(kind.friendlyName)},
                         {L"$id", Id_ToText(kind.decoderId)}};
    std::ranges::copy(Meanings_OfServer(), std::back_inserter(meanings));
    return meanings;
}

void Rows_AddPatterns(std::vector<FilledRow>& rows, const DecoderKind& kind) {
    int index = 0;
    for (const MagicPattern& pattern : kind.patterns) {
        const std::wstring key =
            L"CLSID\\" + Id_ToText(kind.decoderId) + L"\\Patterns\\" + std::to_wstring(index++);
        const auto byteCount = static_cast<std::uint32_t>(pattern.bytes.size());
        const std::vector<std::uint8_t> bytes(pattern.bytes.begin(), pattern.bytes.end());
        const std::vector<std::uint8_t> mask(pattern.bytes.size(), 0xFF);
        rows.push_back({key, L"Position", Data_FromNumber(pattern.position)});
        rows.push_back({key, L"Length", Data_FromNumber(byteCount)});
        rows.push_back({key, L"Pattern", {REG_BINARY, bytes}});
        rows.push_back({key, L"Mask", {REG_BINARY, mask}});
        rows.push_back({key, L"EndOfStream", Data_FromNumber(0)});
    }
}

std::vector<FilledRow> Rows_OfServer() {
    std::vector<FilledRow> rows;
    for (const DecoderKind& kind : kDecoderKinds) {
        const Meanings meanings = Meanings_OfDecoder(kind);
        for (const RegistryRow& row : kDecoderRows) rows.push_back(Row_Fill(row, meanings));
        Rows_AddPatterns(rows, kind);
    }
    const Meanings meanings = Meanings_OfServer();
    for (const RegistryRow& row : kThumbnailRows) rows.push_back(Row_Fill(row, meanings));
    return rows;
}

std::vector<FilledRow> Rows_OfExtensions() {
    std::vector<FilledRow> rows;
    for (const DecoderKind& kind : kDecoderKinds) {
        for (const FileExtension& extension : kind.extensions) {
            Meanings meanings = Meanings_OfServer();
            meanings.emplace_back(L"$extension", extension.ending);
            meanings.emplace_back(L"$mime", extension.mimeType);
            for (const RegistryRow& row : kExtensionRows) rows.push_back(Row_Fill(row, meanings));
        }
    }
    return rows;
}

std::wstring Server_GetThumbnailKey() { return Text_Fill(kThumbnailKey, Meanings_OfServer()); }

/// The keys that are the server's alone.
std::vector<std::wstring> Server_GetKeys() {
    std::vector<std::wstring> keys{Server_GetThumbnailKey()};
    for (const DecoderKind& kind : kDecoderKinds) {
        for (const std::wstring_view key : kDecoderKeys) {
            keys.push_back(Text_Fill(key, Meanings_OfDecoder(kind)));
        }
    }
    return keys;
}

std::wstring Addition_ToLine(const Addition& addition) {
    if (addition.isKey) return addition.key;
    return addition.key + kSeparator + addition.name + kSeparator + addition.text;
}

Addition Addition_FromLine(const std::wstring& line) {
    const auto first = line.find(kSeparator);
    if (first == std::wstring::npos) return {line, {}, {}, true};
    const auto second = line.find(kSeparator, first + 1);
    if (second == std::wstring::npos) return {line.substr(0, first), line.substr(first + 1), {}};
    return {line.substr(0, first), line.substr(first + 1, second - first - 1),
            line.substr(second + 1)};
}

void Additions_Put(std::vector<Addition>& additions, Addition addition) {
    if (std::ranges::find(additions, addition) == additions.end()) {
        additions.push_back(std::move(addition));
    }
}

Addition Addition_FromRow(const FilledRow& row) {
    return {row.key, row.name, Data_GetLines(row.data).front()};
}

std::vector<Addition> Additions_Read(const RegistryEdit& edit) {
    const auto data = edit.GetValue(Server_GetThumbnailKey(), std::wstring(kAddedName));
    std::vector<Addition> additions;
    if (data && data->type == REG_MULTI_SZ) {
        for (const std::wstring& line : Data_GetLines(*data)) {
            additions.push_back(Addition_FromLine(line));
        }
    }
    // The list may be lost, but what names the server can be nobody else's.
    const RegistryData server = Data_FromText(Id_ToText(kThumbnailProviderId));
    for (const FilledRow& row : Rows_OfExtensions()) {
        if (row.data != server || edit.GetValue(row.key, row.name) != server) continue;
        Addition handler = Addition_FromRow(row);
        if (std::ranges::find(additions, handler) != additions.end()) continue;
        Additions_Put(additions, {row.key, {}, {}, true});
        Additions_Put(additions, std::move(handler));
    }
    return additions;
}

/// The registering of the server, as it goes on.
struct Registrar {
    RegistryEdit& edit;
    std::vector<std::wstring> ownKeys;
    std::vector<Addition> additions;

    [[nodiscard]] bool IsOwn(const std::wstring& key) const {
        return std::ranges::any_of(ownKeys, [&](const std::wstring& own) {
            return key == own || key.starts_with(own + L'\\');
        });
    }

    void EnsureKey(const std::wstring& key) {
        for (std::wstring& added : edit.EnsureKey(key)) {
            if (!IsOwn(added)) Additions_Put(additions, {std::move(added), {}, {}, true});
        }
    }

    void SetOwn(const FilledRow& row) {
        EnsureKey(row.key);
        edit.SetValue(row.key, row.name, row.data);
    }

    void SetUnlessTaken(const FilledRow& row) {
        if (edit.GetValue(row.key, row.name)) return;
        EnsureKey(row.key);
        edit.SetValue(row.key, row.name, row.data);
        Additions_Put(additions, Addition_FromRow(row));
    }
};

void Additions_Remove(RegistryEdit& edit, std::vector<Addition> additions) {
    for (const Addition& addition : additions) {
        if (addition.isKey) continue;
        if (edit.GetValue(addition.key, addition.name) == Data_FromText(addition.text)) {
            edit.DeleteValue(addition.key, addition.name);
        }
    }
    // Those below before those above, in whatever order they were added.
    std::ranges::sort(additions, std::ranges::greater(),
                      [](const Addition& addition) { return addition.key.size(); });
    for (const Addition& addition : additions) {
        if (addition.isKey) edit.DeleteEmptyKey(addition.key);
    }
}

/// Runs body(edit) on the classes of the machine.
template <typename Body>
HRESULT Registry_Change(Body&& body) {
    HKEY classes = nullptr;
    const LSTATUS code = RegOpenKeyExW(HKEY_LOCAL_MACHINE, LR"(SOFTWARE\Classes)", 0,
                                       KEY_READ | KEY_WRITE, &classes);
    if (code != ERROR_SUCCESS) return HRESULT_FROM_WIN32(static_cast<unsigned long>(code));
    HRESULT result = S_OK;
    try {
        RegistryEdit edit(classes);
        body(edit);
        edit.Keep();
    } catch (const RegistryError& error) {
        result = HRESULT_FROM_WIN32(static_cast<unsigned long>(error.code));
    } catch (const std::bad_alloc&) {
        result = E_OUTOFMEMORY;
    }
    RegCloseKey(classes);
    if (SUCCEEDED(result)) SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
    return result;
}

}  // namespace

HRESULT Registration_Add() {
    return Registry_Change([](RegistryEdit& edit) {
        Registrar registrar{edit, Server_GetKeys(), Additions_Read(edit)};
        for (const FilledRow& row : Rows_OfServer()) registrar.SetOwn(row);
        for (const FilledRow& row : Rows_OfExtensions()) registrar.SetUnlessTaken(row);
        std::vector<std::wstring> lines;
        for (const Addition& addition : registrar.additions) {
            lines.push_back(Addition_ToLine(addition));
        }
        edit.SetValue(Server_GetThumbnailKey(), std::wstring(kAddedName), Data_FromLines(lines));
    });
}

HRESULT Registration_Remove() {
    return Registry_Change([](RegistryEdit& edit) {
        std::vector<Addition> additions = Additions_Read(edit);
        for (const std::wstring& key : Server_GetKeys()) edit.DeleteTree(key);
        // Behind the server's own keys, which may stand in added ones.
        Additions_Remove(edit, std::move(additions));
    });
}

}  // namespace koru_wic
