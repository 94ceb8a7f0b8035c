// A program that opens pictures by the Windows Imaging Component and knows nothing of korutex.
//
//   wic_client decode OUTDIR FILE...          by file name
//   wic_client stream OUTDIR FILE...          by a stream of memory
//   wic_client direct CLSID FILE...           by a decoder of the caller's choice, no pixels
//   wic_client scale SIDE OUTDIR FILE...      WIC's scaler, to fit a square
//   wic_client thumbnail CLSID SIDE OUTDIR FILE...   a thumbnail provider
//   wic_client info CLSID...                  what WIC knows of decoders
//
// One line for each file: its name, then what was found, or the failed step and its code. Pictures
// are written to OUTDIR/NAME.png.
#include <initguid.h>
// The identifiers must be defined behind it.
#include <propsys.h>
#include <shlwapi.h>
#include <thumbcache.h>
#include <wincodec.h>
#include <windows.h>
#include <wrl/client.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Microsoft::WRL::ComPtr;

struct Failure {
    const char* step;
    HRESULT code;
};

void Check(HRESULT code, const char* step) {
    if (FAILED(code)) throw Failure{step, code};
}

void Require(bool condition, const char* step) {
    if (!condition) throw Failure{step, E_FAIL};
}

template <typename... Arguments>
void Print(const char* format, Arguments... arguments) {
    (void)std::printf(format, arguments...);
}

void PrintText(std::wstring_view text) {
    std::string narrow(text.size() * 3, '\0');
    const int count =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                            static_cast<int>(narrow.size()), nullptr, nullptr);
    Print("%.*s", count, narrow.c_str());
}

void PrintId(REFGUID id) {
    std::array<wchar_t, 40> text{};
    (void)StringFromGUID2(id, text.data(), static_cast<int>(text.size()));
    PrintText(text.data());
}

GUID Id_FromText(const std::wstring& text) {
    GUID id{};
    Check(CLSIDFromString(text.c_str(), &id), "CLSIDFromString");
    return id;
}

std::vector<std::uint8_t> File_Read(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    Require(stream.good(), "open");
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

ComPtr<IStream> Stream_Create(std::span<const std::uint8_t> bytes) {
    ComPtr<IStream> stream;
    Check(CreateStreamOnHGlobal(nullptr, TRUE, &stream), "CreateStreamOnHGlobal");
    ULONG written = 0;
    Check(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written), "Write");
    Check(stream->Seek({}, STREAM_SEEK_SET, nullptr), "Seek");
    return stream;
}

ComPtr<IWICImagingFactory> g_factory;

struct Pixels {
    UINT width = 0, height = 0;
    std::vector<BYTE> bytes;  // 4 for a pixel
};

Pixels Source_CopyAll(IWICBitmapSource& source) {
    Pixels pixels;
    Check(source.GetSize(&pixels.width, &pixels.height), "GetSize");
    pixels.bytes.resize(std::size_t{pixels.width} * pixels.height * 4);
    Check(source.CopyPixels(nullptr, pixels.width * 4, static_cast<UINT>(pixels.bytes.size()),
                            pixels.bytes.data()),
          "CopyPixels");
    return pixels;
}

ComPtr<IWICBitmapSource> Source_Convert(IWICBitmapSource& source, REFWICPixelFormatGUID format) {
    ComPtr<IWICFormatConverter> converter;
    Check(g_factory->CreateFormatConverter(&converter), "CreateFormatConverter");
    Check(converter->Initialize(&source, format, WICBitmapDitherTypeNone, nullptr, 0,
                                WICBitmapPaletteTypeCustom),
          "converter");
    return converter;
}

ComPtr<IWICBitmapSource> Source_FromPixels(Pixels& pixels, REFWICPixelFormatGUID format) {
    ComPtr<IWICBitmap> bitmap;
    Check(g_factory->CreateBitmapFromMemory(pixels.width, pixels.height, format, pixels.width * 4,
                                            static_cast<UINT>(pixels.bytes.size()),
                                            pixels.bytes.data(), &bitmap),
          "CreateBitmapFromMemory");
    return bitmap;
}

void Png_Write(IWICBitmapSource& source, const fs::path& path) {
    UINT width = 0;
    UINT height = 0;
    Check(source.GetSize(&width, &height), "GetSize");
    const auto bgra = Source_Convert(source, GUID_WICPixelFormat32bppBGRA);
    ComPtr<IWICStream> stream;
    Check(g_factory->CreateStream(&stream), "CreateStream");
    Check(stream->InitializeFromFilename(path.c_str(), GENERIC_WRITE), "output");
    ComPtr<IWICBitmapEncoder> encoder;
    Check(g_factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, &encoder), "CreateEncoder");
    Check(encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache), "encoder");
    ComPtr<IWICBitmapFrameEncode> frame;
    Check(encoder->CreateNewFrame(&frame, nullptr), "CreateNewFrame");
    Check(frame->Initialize(nullptr), "frame");
    Check(frame->SetSize(width, height), "SetSize");
    WICPixelFormatGUID format = GUID_WICPixelFormat32bppBGRA;
    Check(frame->SetPixelFormat(&format), "SetPixelFormat");
    Require(format == GUID_WICPixelFormat32bppBGRA, "PNG with alpha");
    Check(frame->WriteSource(bgra.Get(), nullptr), "WriteSource");
    Check(frame->Commit(), "Commit");
    Check(encoder->Commit(), "Commit");
}

/// Small pieces with rows far apart must be pieces of the whole, and touch nothing between rows.
void Frame_CheckPieces(IWICBitmapSource& frame, const Pixels& whole) {
    constexpr UINT kSide = 7;
    constexpr BYTE kUntouched = 0x5A;
    const UINT stride = kSide * 4 + 5;
    for (UINT y = 0; y < whole.height; y += kSide) {
        for (UINT x = 0; x < whole.width; x += kSide) {
            const UINT width = std::min(kSide, whole.width - x);
            const UINT height = std::min(kSide, whole.height - y);
            std::vector<BYTE> piece(stride * (height - 1) + width * 4, kUntouched);
            const WICRect rect{static_cast<INT>(x), static_cast<INT>(y), static_cast<INT>(width),
                               static_cast<INT>(height)};
            Check(frame.CopyPixels(&rect, stride, static_cast<UINT>(piece.size()), piece.data()),
                  "CopyPixels of a piece");
            for (UINT row = 0; row < height; ++row) {
                const BYTE* expected =
                    whole.bytes.data() + (std::size_t{y + row} * whole.width + x) * 4;
                const BYTE* actual = piece.data() + row * stride;
                Require(std::equal(actual, actual + width * 4, expected), "piece");
                if (row + 1 == height) continue;
                Require(std::all_of(actual + width * 4, actual + stride,
                                    [](BYTE byte) { return byte == kUntouched; }),
                        "bytes between rows");
            }
        }
    }
}

/// WIC's own premultiplication of the frame against one by hand.
void Frame_CheckPremultiplied(IWICBitmapSource& frame, const Pixels& whole) {
    const auto converted = Source_Convert(frame, GUID_WICPixelFormat32bppPBGRA);
    const Pixels premultiplied = Source_CopyAll(*converted.Get());
    for (std::size_t i = 0; i < whole.bytes.size(); i += 4) {
        const BYTE* rgba = &whole.bytes[i];
        const BYTE* bgra = &premultiplied.bytes[i];
        Require(bgra[3] == rgba[3], "converted alpha");
        for (std::size_t c = 0; c < 3; ++c) {
            const int product = rgba[c] * rgba[3];
            const int twice = 2 * 255 * bgra[2 - c] - 2 * product;
            Require(twice <= 2 * 255 && twice >= -2 * 255, "converted color");
        }
    }
}

using OpenDecoder = ComPtr<IWICBitmapDecoder>(const fs::path&);

ComPtr<IWICBitmapDecoder> Decoder_OpenFile(const fs::path& path) {
    ComPtr<IWICBitmapDecoder> decoder;
    Check(g_factory->CreateDecoderFromFilename(path.c_str(), nullptr, GENERIC_READ,
                                               WICDecodeMetadataCacheOnDemand, &decoder),
          "CreateDecoderFromFilename");
    return decoder;
}

ComPtr<IWICBitmapDecoder> Decoder_OpenStream(const fs::path& path) {
    const auto stream = Stream_Create(File_Read(path));
    ComPtr<IWICBitmapDecoder> decoder;
    Check(g_factory->CreateDecoderFromStream(stream.Get(), nullptr, WICDecodeMetadataCacheOnLoad,
                                             &decoder),
          "CreateDecoderFromStream");
    return decoder;
}

ComPtr<IWICBitmapFrameDecode> Decoder_GetOnlyFrame(IWICBitmapDecoder& decoder) {
    UINT count = 0;
    Check(decoder.GetFrameCount(&count), "GetFrameCount");
    Require(count == 1, "one frame");
    ComPtr<IWICBitmapFrameDecode> frame;
    Check(decoder.GetFrame(0, &frame), "GetFrame");
    return frame;
}

void Decode(const fs::path& folder, const fs::path& path, OpenDecoder* open) {
    const auto decoder = open(path);
    GUID container{};
    Check(decoder->GetContainerFormat(&container), "GetContainerFormat");
    const auto frame = Decoder_GetOnlyFrame(*decoder.Get());
    WICPixelFormatGUID format{};
    Check(frame->GetPixelFormat(&format), "GetPixelFormat");
    double dpiX = 0;
    double dpiY = 0;
    Check(frame->GetResolution(&dpiX, &dpiY), "GetResolution");
    Pixels pixels = Source_CopyAll(*frame.Get());
    Frame_CheckPieces(*frame.Get(), pixels);
    Frame_CheckPremultiplied(*frame.Get(), pixels);
    // What CopyPixels gave, under the name that the frame gave it.
    Png_Write(*Source_FromPixels(pixels, format).Get(), folder / path.filename() += ".png");
    Print(" ");
    PrintId(container);
    Print(" ");
    PrintId(format);
    Print(" %ux%u %.0fx%.0f dpi\n", pixels.width, pixels.height, dpiX, dpiY);
}

void DecodeDirectly(const GUID& id, const fs::path& path) {
    ComPtr<IWICBitmapDecoder> decoder;
    Check(
        CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IWICBitmapDecoder), &decoder),
        "CoCreateInstance");
    const auto stream = Stream_Create(File_Read(path));
    DWORD capability = 0;
    Check(decoder->QueryCapability(stream.Get(), &capability), "QueryCapability");
    Print(" capability %lu,", capability);
    Check(decoder->Initialize(stream.Get(), WICDecodeMetadataCacheOnDemand), "Initialize");
    const auto frame = Decoder_GetOnlyFrame(*decoder.Get());
    UINT width = 0;
    UINT height = 0;
    Check(frame->GetSize(&width, &height), "GetSize");
    Print(" %ux%u\n", width, height);
}

void Scale(UINT side, const fs::path& folder, const fs::path& path) {
    const auto decoder = Decoder_OpenFile(path);
    const auto frame = Decoder_GetOnlyFrame(*decoder.Get());
    UINT width = 0;
    UINT height = 0;
    Check(frame->GetSize(&width, &height), "GetSize");
    const auto converted = Source_Convert(*frame.Get(), GUID_WICPixelFormat32bppPBGRA);
    const UINT longer = std::max(width, height);
    ComPtr<IWICBitmapScaler> scaler;
    Check(g_factory->CreateBitmapScaler(&scaler), "CreateBitmapScaler");
    Check(scaler->Initialize(converted.Get(), std::max(width * side / longer, 1u),
                             std::max(height * side / longer, 1u), WICBitmapInterpolationModeFant),
          "scaler");
    Png_Write(*scaler.Get(), folder / path.filename() += ".png");
    Check(scaler->GetSize(&width, &height), "GetSize");
    Print(" %ux%u\n", width, height);
}

void Thumbnail(const GUID& id, UINT side, const fs::path& folder, const fs::path& path) {
    ComPtr<IThumbnailProvider> provider;
    Check(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IThumbnailProvider),
                           &provider),
          "CoCreateInstance");
    ComPtr<IInitializeWithStream> initializer;
    Check(provider.As(&initializer), "IInitializeWithStream");
    const auto stream = Stream_Create(File_Read(path));
    Check(initializer->Initialize(stream.Get(), STGM_READ), "Initialize");
    HBITMAP bitmap = nullptr;
    WTS_ALPHATYPE alpha = WTSAT_UNKNOWN;
    Check(provider->GetThumbnail(side, &bitmap, &alpha), "GetThumbnail");
    DIBSECTION section{};
    Require(GetObjectW(bitmap, sizeof(section), &section) == sizeof(section), "a DIB section");
    Require(section.dsBm.bmBitsPixel == 32 && section.dsBm.bmBits != nullptr, "32 bits");
    Pixels pixels{
        static_cast<UINT>(section.dsBm.bmWidth), static_cast<UINT>(section.dsBm.bmHeight), {}};
    const auto* bits = static_cast<const BYTE*>(section.dsBm.bmBits);
    pixels.bytes.assign(bits, bits + std::size_t{pixels.width} * pixels.height * 4);
    DeleteObject(bitmap);
    bool isPremultiplied = true;
    bool isOpaque = true;
    for (std::size_t i = 0; i < pixels.bytes.size(); i += 4) {
        const BYTE* bgra = &pixels.bytes[i];
        isPremultiplied = isPremultiplied && std::max({bgra[0], bgra[1], bgra[2]}) <= bgra[3];
        isOpaque = isOpaque && bgra[3] == 255;
    }
    Png_Write(*Source_FromPixels(pixels, GUID_WICPixelFormat32bppPBGRA).Get(),
              folder / path.filename() += ".png");
    Print(" %ux%u %s%s%s\n", pixels.width, pixels.height,
          alpha == WTSAT_RGB    ? "rgb"
          : alpha == WTSAT_ARGB ? "argb"
                                : "unknown",
          isOpaque ? " opaque" : "", isPremultiplied ? " premultiplied" : "");
}

/// A text that WIC hands out in two steps.
template <typename Get>
void PrintFact(const char* name, Get&& get) {
    UINT count = 0;
    Check(get(0, nullptr, &count), name);
    std::wstring text(count, L'\0');
    Check(get(count, text.data(), &count), name);
    Print(" %s=", name);
    PrintText(text.c_str());
}

void Info(const GUID& id) {
    // By way of a decoder: it has to find what WIC knows of it.
    ComPtr<IWICBitmapDecoder> decoder;
    Check(
        CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IWICBitmapDecoder), &decoder),
        "CoCreateInstance");
    ComPtr<IWICBitmapDecoderInfo> info;
    Check(decoder->GetDecoderInfo(&info), "GetDecoderInfo");
    GUID container{};
    Check(info->GetContainerFormat(&container), "GetContainerFormat");
    Print(" ");
    PrintId(container);
    using Text = WCHAR*;
    PrintFact("name", [&](UINT n, Text t, UINT* c) { return info->GetFriendlyName(n, t, c); });
    PrintFact("extensions",
              [&](UINT n, Text t, UINT* c) { return info->GetFileExtensions(n, t, c); });
    PrintFact("mimes", [&](UINT n, Text t, UINT* c) { return info->GetMimeTypes(n, t, c); });
    PrintFact("author", [&](UINT n, Text t, UINT* c) { return info->GetAuthor(n, t, c); });
    PrintFact("version", [&](UINT n, Text t, UINT* c) { return info->GetVersion(n, t, c); });
    GUID format{};
    UINT count = 0;
    Check(info->GetPixelFormats(1, &format, &count), "GetPixelFormats");
    Print(" formats=%u ", count);
    PrintId(format);
    UINT byteCount = 0;
    UINT patternCount = 0;
    (void)info->GetPatterns(0, nullptr, &patternCount, &byteCount);
    Print(" patterns=%u\n", patternCount);
}

/// Runs body() for each of the rest of the arguments, and prints its line.
template <typename Body>
void ForEach(std::span<wchar_t*> arguments, Body&& body) {
    for (const wchar_t* argument : arguments) {
        PrintText(fs::path(argument).filename().wstring() + L":");
        try {
            body(argument);
        } catch (const Failure& failure) {
            Print(" %s 0x%08lX\n", failure.step, static_cast<unsigned long>(failure.code));
        }
    }
}

bool Run(std::span<wchar_t*> arguments) {
    if (arguments.size() < 2) return false;
    const std::wstring_view command = arguments[0];
    if (command == L"info") {
        ForEach(arguments.subspan(1), [](const wchar_t* id) { Info(Id_FromText(id)); });
    } else if (command == L"decode" || command == L"stream") {
        OpenDecoder* const open = command == L"decode" ? Decoder_OpenFile : Decoder_OpenStream;
        ForEach(arguments.subspan(2),
                [&](const wchar_t* path) { Decode(arguments[1], path, open); });
    } else if (command == L"direct") {
        const GUID id = Id_FromText(arguments[1]);
        ForEach(arguments.subspan(2), [&](const wchar_t* path) { DecodeDirectly(id, path); });
    } else if (command == L"scale" && arguments.size() >= 3) {
        const auto side = static_cast<UINT>(std::stoul(arguments[1]));
        ForEach(arguments.subspan(3),
                [&](const wchar_t* path) { Scale(side, arguments[2], path); });
    } else if (command == L"thumbnail" && arguments.size() >= 4) {
        const GUID id = Id_FromText(arguments[1]);
        const auto side = static_cast<UINT>(std::stoul(arguments[2]));
        ForEach(arguments.subspan(4),
                [&](const wchar_t* path) { Thumbnail(id, side, arguments[3], path); });
    } else {
        return false;
    }
    return true;
}

}  // namespace

int wmain(int argumentCount, wchar_t** arguments) {
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return 3;
    if (FAILED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                __uuidof(IWICImagingFactory), &g_factory))) {
        return 3;
    }
    bool isUnderstood = false;
    try {
        isUnderstood =
            Run(std::span(arguments, static_cast<std::size_t>(argumentCount)).subspan(1));
    } catch (const Failure& failure) {
        Print("%s 0x%08lX\n", failure.step, static_cast<unsigned long>(failure.code));
    }
    g_factory.Reset();
    CoUninitialize();
    return isUnderstood ? 0 : 2;
}
