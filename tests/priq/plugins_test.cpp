#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

// Loads a plugin with local scope and asks it for its instance.
class Plugin {
 public:
  explicit Plugin(const char* file) : handle(dlopen(file, RTLD_NOW | RTLD_LOCAL)) {
    if (!handle) ADD_FAILURE() << dlerror();
  }
  ~Plugin() { dlclose(handle); }
  void* instance() { return reinterpret_cast<void* (*)()>(dlsym(handle, "instanceOfPlugin"))(); }

 private:
  void* const handle;
};

// PLUGIN is built as it stands, HIDDEN_PLUGIN with hidden visibility. The program
// itself knows the library only through them.
TEST(Plugins, ShareTheOneInstanceAlsoWhenLoadedAgain) {
  void* const expected = Plugin(PLUGIN).instance();
  EXPECT_NE(nullptr, dlopen("libvimo_util.so.7", RTLD_NOW | RTLD_NOLOAD));
  for (int round = 0; round < 3; ++round) {
    Plugin plain(PLUGIN), hidden(HIDDEN_PLUGIN);
    EXPECT_EQ(expected, plain.instance());
    EXPECT_EQ(expected, hidden.instance());
  }
}

}  // namespace
