// What registering writes, as tables.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include <windows.h>

namespace koru_wic {

/// A value of a key, or the key alone. Keys are relative to HKEY_LOCAL_MACHINE\SOFTWARE\Classes.
/// Key and text may hold names of what is filled in:
///   $dll  $version  $vendor  $thumbnail  $format       of the server
///   $id  $name  $container  $extensions  $mimes        of a decoder
///   $extension  $mime                                  of a file name extension
struct RegistryRow {
    enum class Type { Text, Number };

    std::wstring_view key, name, text;
    Type type = Type::Text;
    std::uint32_t number = 0;
};

constexpr RegistryRow Row_MakeNumber(std::wstring_view key, std::wstring_view name,
                                     std::uint32_t number) noexcept {
    return {key, name, {}, RegistryRow::Type::Number, number};
}

// clang-format off
/// For each decoder. Its patterns come to these, under "$id\Patterns".
inline constexpr std::array kDecoderRows{
    RegistryRow{LR"(CLSID\$id)",                L"",                L"$name"},
    RegistryRow{LR"(CLSID\$id)",                L"CLSID",           L"$id"},
    RegistryRow{LR"(CLSID\$id)",                L"FriendlyName",    L"$name"},
    RegistryRow{LR"(CLSID\$id)",                L"Author",          L"korutex"},
    RegistryRow{LR"(CLSID\$id)",                L"Vendor",          L"$vendor"},
    RegistryRow{LR"(CLSID\$id)",                L"Version",         L"$version"},
    RegistryRow{LR"(CLSID\$id)",                L"SpecVersion",     L"1.0.0.0"},
    RegistryRow{LR"(CLSID\$id)",                L"ContainerFormat", L"$container"},
    RegistryRow{LR"(CLSID\$id)",                L"ColorManagementVersion", L"1.0.0.0"},
    RegistryRow{LR"(CLSID\$id)",                L"FileExtensions",  L"$extensions"},
    RegistryRow{LR"(CLSID\$id)",                L"MimeTypes",       L"$mimes"},
    Row_MakeNumber(LR"(CLSID\$id)",             L"SupportAnimation",  0),
    Row_MakeNumber(LR"(CLSID\$id)",             L"SupportChromakey",  0),
    Row_MakeNumber(LR"(CLSID\$id)",             L"SupportLossless",   0),
    Row_MakeNumber(LR"(CLSID\$id)",             L"SupportMultiframe", 0),
    RegistryRow{LR"(CLSID\$id\InprocServer32)", L"",                L"$dll"},
    RegistryRow{LR"(CLSID\$id\InprocServer32)", L"ThreadingModel",  L"Both"},
    RegistryRow{LR"(CLSID\$id\Formats\$format)", L"",               L""},
    // The category of WIC's decoders.
    RegistryRow{LR"(CLSID\{7ED96837-96F0-4812-B211-F13C24117ED3}\Instance\$id)", L"CLSID",        L"$id"},
    RegistryRow{LR"(CLSID\{7ED96837-96F0-4812-B211-F13C24117ED3}\Instance\$id)", L"FriendlyName", L"$name"},
};

inline constexpr std::array kThumbnailRows{
    RegistryRow{LR"(CLSID\$thumbnail)",                L"",               L"korutex Thumbnail Provider"},
    RegistryRow{LR"(CLSID\$thumbnail\InprocServer32)", L"",               L"$dll"},
    RegistryRow{LR"(CLSID\$thumbnail\InprocServer32)", L"ThreadingModel", L"Both"},
};

/// The keys that are this server's alone, with all below them.
inline constexpr std::array<std::wstring_view, 2> kDecoderKeys{
    LR"(CLSID\$id)",
    LR"(CLSID\{7ED96837-96F0-4812-B211-F13C24117ED3}\Instance\$id)",
};
inline constexpr std::wstring_view kThumbnailKey = LR"(CLSID\$thumbnail)";

/// For each extension. These keys belong to everybody: what is there already stays.
inline constexpr std::array kExtensionRows{
    RegistryRow{LR"($extension)", L"Content Type",  L"$mime"},
    RegistryRow{LR"($extension)", L"PerceivedType", L"image"},
    RegistryRow{LR"($extension\ShellEx\{E357FCCD-A995-4576-B01F-234630154E96})", L"", L"$thumbnail"},
};
// clang-format on

/// A list in the key kThumbnailKey of what registering added to keys of everybody.
inline constexpr std::wstring_view kAddedName = L"Added";

}  // namespace koru_wic
