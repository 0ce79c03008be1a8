#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

void* load(const char* plugin) {
  void* const handle = dlopen(plugin, RTLD_NOW | RTLD_LOCAL);
  if (!handle) ADD_FAILURE() << dlerror();
  return handle;
}
void* instanceOf(void* plugin) {
  return reinterpret_cast<void* (*)()>(dlsym(plugin, "instanceOfPlugin"))();
}

TEST(Plugins, ShareTheOneInstanceAlsoWhenLoadedAgain) {
  void *const plain = load(default_plugin), *const hidden = load(hidden_plugin);
  void* const expected = instanceOf(plain);
  EXPECT_EQ(expected, instanceOf(hidden));
  EXPECT_TRUE(dlclose(plain) == 0 && dlclose(hidden) == 0);
  EXPECT_NE(nullptr, dlopen("libvimo_util.so.7", RTLD_NOW | RTLD_NOLOAD));  // it stays
  EXPECT_EQ(expected, instanceOf(load(default_plugin)));
}

}  // namespace
