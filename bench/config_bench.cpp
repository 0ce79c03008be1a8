// The configuration beside what a user would take instead. Names read row/contestant/keys.
// The files lie in the working directory.

#include <Poco/Util/PropertyFileConfiguration.h>
#include <benchmark/benchmark.h>
#include <glib.h>
#include <ini.h>
#include <malloc.h>

#include <algorithm>
#include <boost/property_tree/ini_parser.hpp>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "vimo_util/config/CppProperties.h"

namespace {

using vimo::util::config::CppProperties;

// Each contestant loads a file when it is made, finds a key's value and saves all.

struct Text : CppProperties {
  Text() { load("text"); }
  std::string get(const std::string& key) { return getProperty(key); }
  void save() {
    std::ofstream out("out");
    write(out);
  }
};

struct Binary : CppProperties {
  Binary() {
    std::ifstream in("binary");
    load(in);
  }
  std::string get(const std::string& key) { return getProperty(key); }
  void save() {
    std::ofstream out("out");
    CppProperties::save(out);
  }
};

struct GLib {
  GLib() { g_key_file_load_from_file(file, "group", G_KEY_FILE_NONE, nullptr); }
  ~GLib() { g_key_file_free(file); }
  std::unique_ptr<gchar, void (*)(void*)> get(const std::string& key) {
    return {g_key_file_get_string(file, "all", key.c_str(), nullptr), g_free};
  }
  void save() { g_key_file_save_to_file(file, "out", nullptr); }
  GKeyFile* file = g_key_file_new();
};

struct POCO {
  std::string get(const std::string& key) { return file->getString(key); }
  void save() { file->save("out"); }
  Poco::AutoPtr<Poco::Util::PropertyFileConfiguration> file{
      new Poco::Util::PropertyFileConfiguration("text")};
};

struct Inih : std::map<std::string, std::string> {
  Inih() {
    const auto add = [](void* map, const char*, const char* key, const char* value) {
      (*static_cast<Inih*>(map))[key] = value;
      return 1;
    };
    ini_parse("text", add, this);
  }
  std::string& get(const std::string& key) { return at(key); }
  void save() {
    std::ofstream out("out");
    for (const auto& entry : *this) out << entry.first << '=' << entry.second << '\n';
  }
};

struct Boost {
  Boost() { boost::property_tree::read_ini("text", tree); }
  std::string get(const std::string& key) { return tree.get<std::string>(key); }
  void save() { boost::property_tree::write_ini("out", tree); }
  boost::property_tree::ptree tree;
};

// Writes the files (GLib wants a group), and returns the keys in no order.
std::vector<std::string> make(long count, bool sorted) {
  std::vector<std::string> keys;
  for (long i = 0; i < count; ++i) keys.push_back("service_" + std::to_string(1000000 + i));
  std::vector<std::string> shuffled = keys;
  std::shuffle(shuffled.begin(), shuffled.end(), std::minstd_rand(1));
  std::ofstream text("text"), group("group"), binary("binary");
  CppProperties properties;
  group << "[all]\n";
  for (const std::string& key : sorted ? keys : shuffled) {
    text << key << "=value of " << key << '\n';
    group << key << "=value of " << key << '\n';
    properties.setProperty(key, "value of " + key);
  }
  properties.save(binary);
  return shuffled;
}

template <class Contestant, bool sorted>
void load(benchmark::State& state) {
  make(state.range(0), sorted);
  for (auto _ : state) Contestant contestant;
}

template <class Contestant>
void lookUp(benchmark::State& state) {
  const std::vector<std::string> keys = make(state.range(0), true);
  Contestant contestant;
  std::size_t turn = 0;
  for (auto _ : state) benchmark::DoNotOptimize(contestant.get(keys[turn++ % keys.size()]));
}

template <class Contestant>
void save(benchmark::State& state) {
  make(state.range(0), true);
  Contestant contestant;
  for (auto _ : state) contestant.save();
}

template <class Contestant>
void enter(const std::string& contestant) {
  const auto row = [&](const std::string& row, void (*work)(benchmark::State&)) {
    benchmark::RegisterBenchmark((row + contestant).c_str(), work)->Arg(100)->Arg(100000);
  };
  row("load sorted, keys/", load<Contestant, true>);
  row("load unsorted, keys/", load<Contestant, false>);
  row("look up, keys/", lookUp<Contestant>);
  row("save, keys/", save<Contestant>);
}

}  // namespace

int main(int argc, char** argv) {
  // Keep freed memory: else the kernel, which clears its pages, is what is timed.
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_MAX, 0);
  enter<Text>("vimo_util, text");
  enter<Binary>("vimo_util, binary");
  enter<GLib>("GLib");
  enter<POCO>("POCO");
  enter<Inih>("inih and a map");
  enter<Boost>("Boost");
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
