#include "shellext/module/ClassFactory.h"

#include <gtest/gtest.h>

#include <system_error>

namespace veskard {
namespace {

/// What a served class looks like to its factory: it answers IUnknown alone.
class Served : public IUnknown, private RefCountedObject {
 public:
  Served() {
    if (refuseToLive) throw std::bad_alloc();
    ++alive;
  }
  ~Served() override { --alive; }

  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) noexcept override {
    *ppv = nullptr;
    if (riid != IID_IUnknown) return E_NOINTERFACE;
    *ppv = static_cast<IUnknown*>(this);
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() noexcept override { return AddReference(); }
  STDMETHODIMP_(ULONG) Release() noexcept override { return ReleaseReference(); }

  inline static int alive = 0;
  inline static bool refuseToLive = false;
};

class ClassFactoryTest : public ::testing::Test {
 protected:
  ClassFactoryTest() : factory_(new ClassFactory<Served>) { factory_->AddRef(); }
  ~ClassFactoryTest() override {
    Served::refuseToLive = false;
    factory_->Release();
  }

  void* out_ = this;  // something that is not null
  ClassFactory<Served>* factory_;
};

TEST_F(ClassFactoryTest, StartsAtZeroAndCountsPlainly) {
  auto* factory = new ClassFactory<Served>;
  EXPECT_EQ(factory->AddRef(), 1u);
  EXPECT_EQ(factory->AddRef(), 2u);
  EXPECT_EQ(factory->Release(), 1u);
  EXPECT_EQ(factory->Release(), 0u);
}

TEST_F(ClassFactoryTest, AnswersUnknownAndClassFactoryWithItself) {
  for (const IID& iid : {IID_IUnknown, IID_IClassFactory}) {
    EXPECT_EQ(factory_->QueryInterface(iid, &out_), S_OK);
    EXPECT_EQ(out_, static_cast<IClassFactory*>(factory_));
    EXPECT_EQ(factory_->Release(), 1u);
  }
}

TEST_F(ClassFactoryTest, AnswersNothingElse) {
  for (const IID& iid : {IID_IPersist, IID_IMarshal, IID_NULL}) {
    out_ = this;
    EXPECT_EQ(factory_->QueryInterface(iid, &out_), E_NOINTERFACE);
    EXPECT_EQ(out_, nullptr);
  }
}

TEST_F(ClassFactoryTest, CountsAsAUserOfTheModuleWhileItLives) {
  const uint32_t before = ModuleLockCount();
  auto* factory = new ClassFactory<Served>;
  EXPECT_EQ(ModuleLockCount(), before + 1);
  factory->AddRef();
  factory->Release();
  EXPECT_EQ(ModuleLockCount(), before);
}

TEST_F(ClassFactoryTest, CreatesAnObjectWithOneReference) {
  ASSERT_EQ(factory_->CreateInstance(nullptr, IID_IUnknown, &out_), S_OK);
  EXPECT_EQ(Served::alive, 1);
  EXPECT_EQ(static_cast<IUnknown*>(out_)->Release(), 0u);
  EXPECT_EQ(Served::alive, 0);
}

TEST_F(ClassFactoryTest, RefusesAggregation) {
  EXPECT_EQ(factory_->CreateInstance(factory_, IID_IUnknown, &out_), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(out_, nullptr);
  EXPECT_EQ(Served::alive, 0);
}

TEST_F(ClassFactoryTest, DestroysAnObjectThatLacksTheInterface) {
  EXPECT_EQ(factory_->CreateInstance(nullptr, IID_IClassFactory, &out_), E_NOINTERFACE);
  EXPECT_EQ(out_, nullptr);
  EXPECT_EQ(Served::alive, 0);
}

TEST_F(ClassFactoryTest, TurnsMemoryExhaustionIntoACode) {
  Served::refuseToLive = true;
  EXPECT_EQ(factory_->CreateInstance(nullptr, IID_IUnknown, &out_), E_OUTOFMEMORY);
  EXPECT_EQ(out_, nullptr);
}

TEST_F(ClassFactoryTest, NeedsSomewhereToAnswer) {
  EXPECT_EQ(factory_->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(factory_->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(Served::alive, 0);
}

TEST_F(ClassFactoryTest, LockServerChangesNothing) {
  const uint32_t before = ModuleLockCount();
  EXPECT_EQ(factory_->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory_->LockServer(FALSE), S_OK);
  EXPECT_EQ(ModuleLockCount(), before);
}

/// Releases something that takes and gives back a reference to it.
class ReferredToAtItsEnd : private RefCountedObject {
 public:
  ~ReferredToAtItsEnd() override {
    if (++destroyed > 1) return;
    AddRef();
    Release();
  }
  uint32_t AddRef() noexcept { return AddReference(); }
  uint32_t Release() noexcept { return ReleaseReference(); }

  inline static int destroyed = 0;
};

TEST(RefCountedObjectTest, ReferencesWhileItIsDestroyedDoNotDestroyItAgain) {
  auto* const object = new ReferredToAtItsEnd;
  object->AddRef();
  EXPECT_EQ(object->Release(), 0u);
  EXPECT_EQ(ReferredToAtItsEnd::destroyed, 1);
}

TEST(ComBoundaryTest, PassesResultsThrough) {
  EXPECT_EQ(ComBoundary([] { return S_FALSE; }), S_FALSE);
  EXPECT_EQ(ComBoundary([] { return E_NOTIMPL; }), E_NOTIMPL);
}

TEST(ComBoundaryTest, TranslatesWhatIsThrown) {
  EXPECT_EQ(ComBoundary([]() -> HRESULT { throw std::bad_alloc(); }), E_OUTOFMEMORY);
  EXPECT_EQ(
      ComBoundary([]() -> HRESULT { throw std::system_error(ERROR_ACCESS_DENIED, std::system_category()); }),
      E_ACCESSDENIED);
  EXPECT_EQ(ComBoundary([]() -> HRESULT { throw std::system_error(0, std::system_category()); }), E_FAIL);
  EXPECT_EQ(ComBoundary([]() -> HRESULT { throw 5; }), E_FAIL);
}

}  // namespace
}  // namespace veskard
