#include "core/load_sequence.h"

#include <span>
#include <utility>

#include "core/file_access.h"

namespace koru {
namespace {

/// While it lives, decoders know what the load makes of their surface.
class WantedForm {
  public:
    WantedForm(DecodeSurface& surface, std::uint32_t flags) noexcept : surface_(surface) {
        surface_.wantedForm = Image_GetForm(flags);
    }
    ~WantedForm() { surface_.wantedForm = RecordForm::Unknown; }
    WantedForm(const WantedForm&) = delete;
    WantedForm& operator=(const WantedForm&) = delete;

  private:
    DecodeSurface& surface_;
};

/// Finishes the surface into a record and clears it, so that no pixels outlive the call.
ImageHandle FinishAndClear(FormatState& state, std::uint32_t flags) noexcept {
    ImageHandle image = Image_TakeSurface(state.surface, flags);
    Surface_Clear(state.surface);
    return image;
}

/// The whole file as an owning source at offset 0; no data on failure.
SourceBuffer ReadWholeFile(const KORU_Char* path) noexcept {
    const FileHandle file = File_Open(path, FileMode::Read);
    if (file == nullptr) return {};
    const auto size = File_GetSize(file.get());
    if (!size) return {};
    ByteBuffer bytes = ByteBuffer::Allocate(*size);  // none for an empty file
    if (!bytes || !File_Read(file.get(), {bytes.Data(), bytes.Size()})) return {};
    return Source_Own(std::move(bytes));
}

}  // namespace

int Load_ParseFile(const ContainerFormat& format, SourceBuffer& source, const KORU_Char* path) {
    if (path == nullptr) return 0;
    Source_Release(source);
    source = ReadWholeFile(path);
    if (source.data == nullptr) return 0;
    State_SetName(format.state, path);
    const int result = format.parse(source, path);
    Source_Release(source);
    return result;
}

ImageHandle Load_FromFile(const ContainerFormat& format, const KORU_Char* path,
                          std::uint32_t flags) {
    if (path == nullptr) return nullptr;
    Surface_Clear(format.state.surface);
    const WantedForm wanted(format.state.surface, flags);
    SourceBuffer source;
    if (Load_ParseFile(format, source, path) == 0) return nullptr;
    return FinishAndClear(format.state, flags);
}

ImageHandle Load_FromMemory(const ContainerFormat& format, const std::uint8_t* data,
                            std::uint32_t size, std::uint32_t flags) {
    if (data == nullptr || size == 0) return nullptr;
    Surface_Clear(format.state.surface);
    const WantedForm wanted(format.state.surface, flags);
    SourceBuffer source = Source_Borrow(data, size);
    State_SetName(format.state, format.memoryName);
    // Quirk: unlike a file's, the parser's result is not looked at. A surface that a failing parser
    // filled all the same becomes a record, as hosts know it.
    static_cast<void>(format.parse(source, format.state.name.data()));
    return FinishAndClear(format.state, flags);
}

}  // namespace koru
