// A Windows host that loads stattree.dll at run time, as the hosts it is
// written for do: the library's statics stand as soon as LoadLibrary
// returns, before any engine exists, and go with FreeLibrary, so that a
// second load starts from a clear error manager. This program does not
// link the library, so that FreeLibrary really unloads it.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "stattree/boundary/error_info.h"

namespace {

// Exported names as GetProcAddress sees them.
constexpr const char* kEmptyNodeName = "_ZN8stattree8TreeNode14sEmptyNodeNameB5cxx11E";
constexpr const char* kErrorInfoTable = "_ZN8stattree5Stats15sErrorInfoTableE";
constexpr const char* kSetError =
    "_ZN8stattree5Stats8SetErrorEiiRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEb";
constexpr const char* kIsErrorSet = "_ZN8stattree5Stats10IsErrorSetEv";

using SetErrorFunction = void (*)(int, int, const std::string&, bool);
using IsErrorSetFunction = bool (*)();

class LoadedLibrary {
 public:
  LoadedLibrary() : module_(LoadLibraryA("stattree.dll")) {}
  ~LoadedLibrary() { Unload(); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  bool Loaded() const { return module_ != nullptr; }
  void Unload() {
    if (module_ != nullptr) FreeLibrary(module_);
    module_ = nullptr;
  }
  template <typename T>
  T Function(const char* name) const {
    // Through the generic function type, which converts to any other.
    return reinterpret_cast<T>(reinterpret_cast<void (*)()>(GetProcAddress(module_, name)));
  }
  const void* Data(const char* name) const {
    return reinterpret_cast<const void*>(GetProcAddress(module_, name));
  }

 private:
  HMODULE module_;
};

TEST(DllLoad, StaticsStandOnceLoaded) {
  LoadedLibrary library;
  ASSERT_TRUE(library.Loaded());
  const auto* emptyName = static_cast<const std::string*>(library.Data(kEmptyNodeName));
  ASSERT_NE(emptyName, nullptr);
  EXPECT_EQ(*emptyName, "[no name]");
  // The member is a reference: its export holds the table's address.
  const auto* table = static_cast<const stattree::ErrorInfo* const*>(library.Data(kErrorInfoTable));
  ASSERT_NE(table, nullptr);
  EXPECT_EQ((*table)[0].code, 10001);
  EXPECT_EQ(std::string((*table)[0].message), "Out of Memory");
  const auto isErrorSet = library.Function<IsErrorSetFunction>(kIsErrorSet);
  ASSERT_NE(isErrorSet, nullptr);
  EXPECT_FALSE(isErrorSet());
}

TEST(DllLoad, UnloadDestroysTheErrorManager) {
  {
    LoadedLibrary library;
    ASSERT_TRUE(library.Loaded());
    const auto setError = library.Function<SetErrorFunction>(kSetError);
    const auto isErrorSet = library.Function<IsErrorSetFunction>(kIsErrorSet);
    ASSERT_NE(setError, nullptr);
    ASSERT_NE(isErrorSet, nullptr);
    setError(4242, 1, "left behind", true);
    ASSERT_TRUE(isErrorSet());
  }
  EXPECT_EQ(GetModuleHandleA("stattree.dll"), nullptr);
  LoadedLibrary again;
  ASSERT_TRUE(again.Loaded());
  const auto isErrorSet = again.Function<IsErrorSetFunction>(kIsErrorSet);
  ASSERT_NE(isErrorSet, nullptr);
  EXPECT_FALSE(isErrorSet());
}

}  // namespace
