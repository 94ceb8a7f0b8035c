// What COM asks of every server and object.
#include <propsys.h>
#include <thumbcache.h>

#include <vector>

#include "faulty_stream.h"
#include "texture_files.h"
#include "wic_server.h"

namespace {

using namespace koru_wic;

constexpr GUID kNobody{0x11111111, 0x2222, 0x3333, {4, 4, 4, 4, 4, 4, 4, 4}};

/// Objects of each kind that the server makes.
std::vector<std::pair<ComPtr<IUnknown>, std::vector<GUID>>> MakeOneOfEach(const WicServer& server) {
    std::vector<std::pair<ComPtr<IUnknown>, std::vector<GUID>>> objects;
    for (const GUID& id : {kAstcDecoderId, kKtxDecoderId, kPvrDecoderId}) {
        objects.push_back({server.Create<IUnknown>(id),
                           {__uuidof(IWICBitmapDecoder), __uuidof(IMarshal), __uuidof(IAgileObject),
                            __uuidof(IUnknown)}});
    }
    objects.push_back(
        {server.Create<IUnknown>(kThumbnailProviderId),
         {__uuidof(IThumbnailProvider), __uuidof(IInitializeWithStream), __uuidof(IUnknown)}});
    objects.push_back(
        {server.GetFactory(kKtxDecoderId), {__uuidof(IClassFactory), __uuidof(IUnknown)}});

    const auto decoder = server.Create<IWICBitmapDecoder>(kKtxDecoderId);
    FaultyStream stream(Test_KtxOfPixels(2, 2, Test_MakePixels(2, 2)));
    EXPECT_CODE(decoder->Initialize(&stream, WICDecodeMetadataCacheOnDemand), S_OK);
    ComPtr<IWICBitmapFrameDecode> frame;
    EXPECT_CODE(decoder->GetFrame(0, &frame), S_OK);
    objects.push_back({frame,
                       {__uuidof(IWICBitmapFrameDecode), __uuidof(IWICBitmapSource),
                        __uuidof(IMarshal), __uuidof(IAgileObject), __uuidof(IUnknown)}});
    return objects;
}

TEST(ComRules, EveryInterfaceLeadsToEveryOtherAndToOneIdentity) {
    const WicServer server;
    for (const auto& [object, ids] : MakeOneOfEach(server)) {
        ComPtr<IUnknown> identity;
        ASSERT_CODE(object->QueryInterface(__uuidof(IUnknown), &identity), S_OK);
        for (const GUID& from : ids) {
            ComPtr<IUnknown> start;
            ASSERT_CODE(object->QueryInterface(from, &start), S_OK);
            for (const GUID& to : ids) {
                ComPtr<IUnknown> found;
                ASSERT_CODE(start->QueryInterface(to, &found), S_OK);
                ComPtr<IUnknown> direct;
                ASSERT_CODE(object->QueryInterface(to, &direct), S_OK);
                EXPECT_EQ(found.Get(), direct.Get());
                ComPtr<IUnknown> same;
                ASSERT_CODE(found->QueryInterface(__uuidof(IUnknown), &same), S_OK);
                EXPECT_EQ(same.Get(), identity.Get());
            }
        }
    }
}

TEST(ComRules, ForeignInterfacesAreRefusedAndLeaveNull) {
    const WicServer server;
    for (const auto& [object, ids] : MakeOneOfEach(server)) {
        void* result = &result;
        EXPECT_CODE(object->QueryInterface(kNobody, &result), E_NOINTERFACE);
        EXPECT_EQ(result, nullptr);
        EXPECT_CODE(object->QueryInterface(__uuidof(IUnknown), nullptr), E_POINTER);
    }
}

TEST(ComRules, ReferencesAreCountedForAllInterfacesTogether) {
    const WicServer server;
    for (const auto& [object, ids] : MakeOneOfEach(server)) {
        const ULONG before = object->AddRef() - 1;
        EXPECT_EQ(before, 1u);
        for (const GUID& id : ids) {
            ComPtr<IUnknown> other;
            ASSERT_CODE(object->QueryInterface(id, &other), S_OK);
            EXPECT_EQ(other->AddRef(), before + 3);
            EXPECT_EQ(other->Release(), before + 2);
        }
        EXPECT_EQ(object->Release(), before);
    }
}

TEST(ComRules, TheServerMayGoOnceEveryObjectIsGone) {
    const WicServer server;
    EXPECT_CODE(server.CanUnloadNow(), S_OK);
    auto objects = MakeOneOfEach(server);
    while (!objects.empty()) {
        EXPECT_CODE(server.CanUnloadNow(), S_FALSE);
        objects.pop_back();
    }
    EXPECT_CODE(server.CanUnloadNow(), S_OK);
}

TEST(ComRules, LocksKeepTheServer) {
    const WicServer server;
    {
        const auto factory = server.GetFactory(kPvrDecoderId);
        EXPECT_CODE(factory->LockServer(TRUE), S_OK);
        EXPECT_CODE(factory->LockServer(TRUE), S_OK);
        EXPECT_CODE(factory->LockServer(FALSE), S_OK);
    }
    EXPECT_CODE(server.CanUnloadNow(), S_FALSE);
    EXPECT_CODE(server.GetFactory(kPvrDecoderId)->LockServer(FALSE), S_OK);
    EXPECT_CODE(server.CanUnloadNow(), S_OK);
}

TEST(ComRules, NothingIsAggregated) {
    const WicServer server;
    for (const GUID& id : {kAstcDecoderId, kKtxDecoderId, kPvrDecoderId, kThumbnailProviderId}) {
        const auto factory = server.GetFactory(id);
        void* result = &result;
        EXPECT_CODE(factory->CreateInstance(factory.Get(), __uuidof(IUnknown), &result),
                    CLASS_E_NOAGGREGATION);
        EXPECT_EQ(result, nullptr);
    }
}

TEST(ComRules, FactoriesRefuseWhatTheyCannotMake) {
    const WicServer server;
    void* result = &result;
    EXPECT_CODE(server.GetClassObject(kNobody, __uuidof(IClassFactory), &result),
                CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(result, nullptr);
    result = &result;
    EXPECT_CODE(server.GetClassObject(kKtxDecoderId, kNobody, &result), E_NOINTERFACE);
    EXPECT_EQ(result, nullptr);
    EXPECT_CODE(server.GetClassObject(kKtxDecoderId, __uuidof(IClassFactory), nullptr), E_POINTER);

    const auto factory = server.GetFactory(kKtxDecoderId);
    result = &result;
    EXPECT_CODE(factory->CreateInstance(nullptr, __uuidof(IThumbnailProvider), &result),
                E_NOINTERFACE);
    EXPECT_EQ(result, nullptr);
    EXPECT_CODE(factory->CreateInstance(nullptr, __uuidof(IUnknown), nullptr), E_POINTER);
}

TEST(ComRules, RefusedObjectsAreGone) {
    const WicServer server;
    {
        void* result = nullptr;
        EXPECT_CODE(server.GetClassObject(kKtxDecoderId, kNobody, &result), E_NOINTERFACE);
        EXPECT_CODE(server.GetFactory(kKtxDecoderId)->CreateInstance(nullptr, kNobody, &result),
                    E_NOINTERFACE);
    }
    EXPECT_CODE(server.CanUnloadNow(), S_OK);
}

}  // namespace
