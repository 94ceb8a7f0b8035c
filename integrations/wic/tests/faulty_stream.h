// A stream of memory that behaves as badly as streams may.
#pragma once

#include <windows.h>

#include <objidl.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

class FaultyStream final : public IStream {
  public:
    explicit FaultyStream(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}

    // How it behaves; set before use.
    ULONG maxRead = std::numeric_limits<ULONG>::max();  ///< bytes that one Read gives at most
    int callsBeforeFailure = -1;                        ///< Read and Seek; negative: never fails
    HRESULT failure = E_FAIL;
    std::uint64_t toldBytes = 0;  ///< what Seek takes for the end, if it is not the truth
    bool claimsMoreThanAsked = false;

    std::uint64_t position = 0;
    std::uint64_t bytesRead = 0;
    std::atomic<ULONG> referenceCount = 1;  // whoever made it deletes it

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        const bool isKnown = id == __uuidof(IUnknown) || id == __uuidof(IStream) ||
                             id == __uuidof(ISequentialStream);
        *object = isKnown ? this : nullptr;
        if (isKnown) AddRef();
        return isKnown ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++referenceCount; }
    ULONG STDMETHODCALLTYPE Release() override { return --referenceCount; }

    HRESULT STDMETHODCALLTYPE Read(void* target, ULONG byteCount, ULONG* readCount) override {
        if (Fails()) return failure;
        const std::uint64_t left = position < bytes_.size() ? bytes_.size() - position : 0;
        const auto count =
            static_cast<ULONG>(std::min({std::uint64_t{byteCount}, std::uint64_t{maxRead}, left}));
        if (count != 0) std::memcpy(target, bytes_.data() + position, count);
        position += count;
        bytesRead += count;
        *readCount = claimsMoreThanAsked ? byteCount + 1 : count;
        return count == byteCount ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin,
                                   ULARGE_INTEGER* reached) override {
        if (Fails()) return failure;
        const std::uint64_t end = toldBytes != 0 ? toldBytes : bytes_.size();
        const std::uint64_t base = origin == STREAM_SEEK_SET   ? 0
                                   : origin == STREAM_SEEK_CUR ? position
                                                               : end;
        position = base + static_cast<std::uint64_t>(move.QuadPart);
        if (reached != nullptr) reached->QuadPart = position;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*,
                                     ULARGE_INTEGER*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }

  private:
    bool Fails() { return callsBeforeFailure >= 0 && callsBeforeFailure-- == 0; }

    std::vector<std::uint8_t> bytes_;
};
