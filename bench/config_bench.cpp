// The configuration forms beside what a user would take instead. A contestant
// must find the same contents before its time counts; names read row/contestant.

#include <Poco/AutoPtr.h>
#include <Poco/Util/PropertyFileConfiguration.h>
#include <benchmark/benchmark.h>
#include <csv.h>
#include <glib.h>
#include <ini.h>
#include <malloc.h>
#include <unistd.h>
#define SI_NO_CONVERSION
#include <SimpleIni.h>

#include <boost/property_tree/ini_parser.hpp>
#include <boost/tokenizer.hpp>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "vimo_util/config/CommaSeparatedValues.h"
#include "vimo_util/config/CppProperties.h"

namespace {

using vimo::util::config::CommaSeparatedValues;
using vimo::util::config::CppProperties;
using Entries = std::map<std::string, std::string>;
using Rows = std::vector<std::vector<std::string>>;

// Files in memory, so that no disk is measured; main() removes them.
const std::string directory = [] {
  char name[] = "/dev/shm/config_bench.XXXXXX";
  return std::string(mkdtemp(name)) + "/";
}();
const std::string textPath = directory + "properties";
const std::string iniPath = directory + "ini";  // the same text below a group
const std::string binaryPath = directory + "binary";
const std::string tablePath = directory + "table";
const std::string scratchPath = directory + "scratch";

// One way to do a row's work: each call makes anew what `contents` then tells.
template <class Contents>
struct Contestant {
  const char* name;
  std::function<std::shared_ptr<void>()> run;
  std::function<Contents(void*)> contents;
};

template <class Contents, class Object>
Contestant<Contents> contestant(const char* name, void (*load)(Object&),
                                void (*tell)(Object&, Contents&)) {
  return {name,
          [load] {
            auto object = std::make_shared<Object>();
            load(*object);
            return object;
          },
          [tell](void* object) {
            Contents contents;
            tell(*static_cast<Object*>(object), contents);
            return contents;
          }};
}

template <class Contents>
void enter(const std::string& row, const std::function<void()>& prepare, const Contents& expected,
           const std::vector<Contestant<Contents>>& contestants) {
  for (const auto& c : contestants) {
    benchmark::RegisterBenchmark((row + "/" + c.name).c_str(), [=](benchmark::State& state) {
      prepare();
      if (c.contents(c.run().get()) != expected) state.SkipWithError("finds something else");
      for (auto _ : state) benchmark::DoNotOptimize(c.run());
    })->Unit(benchmark::kNanosecond);
  }
}

// The text form.

void tellMap(Entries& map, Entries& entries) { entries = map; }

void tellProperties(CppProperties& properties, Entries& entries) {
  std::vector<std::string> keys;
  properties.getKeys(keys);
  for (const std::string& key : keys) entries[key] = properties.getProperty(key);
}

void getlineText(Entries& map) {
  std::ifstream in(textPath);
  for (std::string line; std::getline(in, line);) {
    const std::size_t equals = line.find('=');
    if (equals != line.npos) map[line.substr(0, equals)] = line.substr(equals + 1);
  }
}

struct GLib {
  GLib() : file(g_key_file_new()) {}
  ~GLib() { g_key_file_free(file); }
  GKeyFile* file;
};
void loadGLib(GLib& g) {
  g_key_file_load_from_file(g.file, iniPath.c_str(), G_KEY_FILE_NONE, nullptr);
}
void tellGLib(GLib& g, Entries& entries) {
  gchar** const keys = g_key_file_get_keys(g.file, "all", nullptr, nullptr);
  for (gchar** key = keys; key && *key; ++key) {
    gchar* const value = g_key_file_get_string(g.file, "all", *key, nullptr);
    entries[*key] = value;
    g_free(value);
  }
  g_strfreev(keys);
}

using Poco_ = Poco::AutoPtr<Poco::Util::PropertyFileConfiguration>;
void loadPoco(Poco_& poco) { poco = new Poco::Util::PropertyFileConfiguration(textPath); }
void tellPoco(Poco_& poco, Entries& entries) {
  std::vector<std::string> keys;
  poco->keys(keys);
  for (const std::string& key : keys) entries[key] = poco->getRawString(key);
}

void loadSimpleIni(CSimpleIniCaseA& ini) { ini.LoadFile(textPath.c_str()); }
void tellSimpleIni(CSimpleIniCaseA& ini, Entries& entries) {
  CSimpleIniCaseA::TNamesDepend keys;
  ini.GetAllKeys("", keys);
  for (const auto& key : keys) entries[key.pItem] = ini.GetValue("", key.pItem);
}

void loadInih(Entries& map) {
  ini_parse(
      textPath.c_str(),
      [](void* user, const char*, const char* key, const char* value) {
        (*static_cast<Entries*>(user))[key] = value;
        return 1;
      },
      &map);
}

using Tree = boost::property_tree::ptree;
void loadTree(Tree& tree) { boost::property_tree::read_ini(textPath, tree); }
void tellTree(Tree& tree, Entries& entries) {
  for (const auto& child : tree) entries[child.first] = child.second.data();
}

// The binary form.

bool getInSteps(std::istream& in, std::string& value) {
  std::uint32_t left = 0;
  in.read(reinterpret_cast<char*>(&left), sizeof left);
  char piece[5];
  for (; left > 5 && in; left -= 5) {
    in.read(piece, 5);
    value.append(piece, 5);
  }
  in.read(piece, left);
  value.append(piece, in.gcount());
  return static_cast<bool>(in);
}

void loadInSteps(Entries& map) {
  std::ifstream in(binaryPath);
  for (std::string key, value; getInSteps(in, key) && getInSteps(in, value);) {
    map[key] = value;
    key.clear();
    value.clear();
  }
}

// Tables.

void tellTable(CommaSeparatedValues& table, Rows& rows) {
  for (std::uint32_t row = 0; row < table.size(); ++row) rows.push_back(table[row]->cells);
}
void tellRows(Rows& from, Rows& rows) { rows = from; }

// The line behind the last newline is a row too, of no cell.
template <class Split>
void byLines(Rows& rows, Split split) {
  std::ifstream in(tablePath);
  for (std::string line; std::getline(in, line);) {
    rows.emplace_back();
    split(line, rows.back());
  }
  rows.emplace_back();
}

void findCells(Rows& rows) {
  byLines(rows, [](const std::string& line, std::vector<std::string>& cells) {
    std::size_t begin = 0;
    for (std::size_t comma; (comma = line.find(',', begin)) != line.npos; begin = comma + 1) {
      cells.push_back(line.substr(begin, comma - begin));
    }
    cells.push_back(line.substr(begin));
  });
}

void streamCells(Rows& rows) {
  byLines(rows, [](const std::string& line, std::vector<std::string>& cells) {
    std::stringstream pieces(line);
    for (std::string cell; std::getline(pieces, cell, ',');) cells.push_back(cell);
  });
}

void tokenizeCells(Rows& rows) {
  const boost::char_separator<char> comma(",", "", boost::keep_empty_tokens);
  byLines(rows, [&](const std::string& line, std::vector<std::string>& cells) {
    const boost::tokenizer<boost::char_separator<char>> pieces(line, comma);
    cells.assign(pieces.begin(), pieces.end());
  });
}

void libcsvCells(Rows& rows) {
  csv_parser parser;
  csv_init(&parser, 0);
  std::ifstream in(tablePath);
  rows.emplace_back();
  const auto cell = [](void* bytes, std::size_t size, void* user) {
    static_cast<Rows*>(user)->back().emplace_back(static_cast<char*>(bytes), size);
  };
  const auto row = [](int, void* user) { static_cast<Rows*>(user)->emplace_back(); };
  for (char block[8192]; in.read(block, sizeof block), in.gcount() > 0;) {
    csv_parse(&parser, block, in.gcount(), cell, row, &rows);
  }
  csv_fini(&parser, cell, row, &rows);
  csv_free(&parser);
}

template <class LookUp>
Contestant<std::size_t> lookups(const char* name, std::shared_ptr<std::vector<std::string>> asked,
                                LookUp lookUp) {
  return {name,
          [=] {
            std::size_t sum = 0;
            for (const std::string& key : *asked) sum += lookUp(key).size();
            return std::make_shared<std::size_t>(sum);
          },
          [](void* sum) { return *static_cast<std::size_t*>(sum); }};
}

void enterKeys(std::size_t count, bool shuffled) {
  std::mt19937 random(1);
  std::vector<std::pair<std::string, std::string>> lines;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string number = std::to_string(1000000 + i);
    lines.emplace_back("service_" + number, "value " + std::to_string(random()));
  }
  const Entries expected(lines.begin(), lines.end());
  if (shuffled) std::shuffle(lines.begin(), lines.end(), random);
  const auto prepare = [lines, expected] {
    std::ofstream text(textPath), ini(iniPath), binary(binaryPath);
    ini << "[all]\n";
    CppProperties properties;
    for (const auto& line : lines) {
      text << line.first << '=' << line.second << '\n';
      ini << line.first << '=' << line.second << '\n';
      properties.setProperty(line.first, line.second);
    }
    properties.save(binary);
  };
  const std::string keys = " " + std::to_string(count) + " keys";
  enter<Entries>("load" + keys + (shuffled ? ", shuffled" : ""), prepare, expected,
                 {contestant<Entries, CppProperties>(
                      "vimo_util", [](CppProperties& p) { p.load(textPath); }, tellProperties),
                  contestant("getline into a map", getlineText, tellMap),
                  contestant("GLib", loadGLib, tellGLib), contestant("POCO", loadPoco, tellPoco),
                  contestant("SimpleIni", loadSimpleIni, tellSimpleIni),
                  contestant("inih into a map", loadInih, tellMap),
                  contestant("Boost property tree", loadTree, tellTree)});
  if (shuffled) return;

  enter<Entries>("load" + keys + ", binary", prepare, expected,
                 {contestant<Entries, CppProperties>(
                      "vimo_util",
                      [](CppProperties& p) {
                        std::ifstream in(binaryPath);
                        p.load(in);
                      },
                      tellProperties),
                  contestant("steps of 5 bytes", loadInSteps, tellMap)});

  // Filled side by side, so that the nodes of neither lie closer together.
  const auto properties = std::make_shared<CppProperties>();
  const auto map = std::make_shared<Entries>();
  for (const auto& line : lines) {
    properties->setProperty(line.first, line.second);
    map->insert(line);
  }
  const auto output = [&](const std::string& row, const char* rival,
                          const std::function<void(std::ostream&)>& ours,
                          const std::function<void(std::ostream&)>& theirs) {
    std::ostringstream expected;
    theirs(expected);
    const auto to = [](const std::function<void(std::ostream&)>& put) {
      return [put] {
        std::ofstream out(scratchPath);
        put(out);
        return std::shared_ptr<void>();
      };
    };
    const auto written = [](void*) {
      std::ostringstream all;
      all << std::ifstream(scratchPath).rdbuf();
      return all.str();
    };
    enter<std::string>(row + keys, [] {}, expected.str(),
                       {{"vimo_util", to(ours), written}, {rival, to(theirs), written}});
  };
  output(
      "write", "ofstream, a flush a line", [=](std::ostream& out) { properties->write(out); },
      [=](std::ostream& out) {
        for (const auto& entry : expected) out << entry.first << '=' << entry.second << std::endl;
      });
  output(
      "save", "two writes a string", [=](std::ostream& out) { properties->save(out); },
      [=](std::ostream& out) {
        for (const auto& entry : expected) {
          for (const std::string* s :
               {&entry.first, const_cast<const std::string*>(&entry.second)}) {
            const std::uint32_t size = s->size();
            out.write(reinterpret_cast<const char*>(&size), sizeof size);
            out.write(s->data(), size);
          }
        }
      });

  const auto asked = std::make_shared<std::vector<std::string>>();
  std::size_t sum = 0;
  for (std::size_t i = 0; i < 1000000; ++i) {
    asked->push_back(lines[random() % count].first);
    sum += expected.at(asked->back()).size();
  }
  enter<std::size_t>("a million lookups in" + keys, [] {}, sum,
                     {lookups("vimo_util", asked,
                              [=](const std::string& key) { return properties->getProperty(key); }),
                      lookups("std::map and a copy", asked, [=](const std::string& key) {
                        const auto found = map->find(key);
                        return found == map->end() ? std::string() : found->second;
                      })});
}

void enterTable() {
  std::mt19937 random(1);
  Rows expected(200000, std::vector<std::string>(10));
  std::string text;
  for (auto& row : expected) {
    for (std::string& cell : row) {
      cell = std::to_string(random() >> random() % 20);
      text += cell;
      text += &cell == &row.back() ? '\n' : ',';
    }
  }
  expected.emplace_back();
  enter<Rows>("load 200000 rows of 10 cells", [text] { std::ofstream(tablePath) << text; },
              expected,
              {contestant<Rows, CommaSeparatedValues>(
                   "vimo_util", [](CommaSeparatedValues& t) { t.load(tablePath); }, tellTable),
               contestant("getline and find", findCells, tellRows),
               contestant("getline and stringstream", streamCells, tellRows),
               contestant("libcsv", libcsvCells, tellRows),
               contestant("Boost tokenizer", tokenizeCells, tellRows)});
}

}  // namespace

int main(int argc, char** argv) {
  // A heap that is kept: else the kernel, which clears its pages, is what is measured.
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  for (const std::size_t count : {100, 100000}) {
    for (const bool shuffled : {false, true}) enterKeys(count, shuffled);
  }
  enterTable();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  for (const std::string& path : {textPath, iniPath, binaryPath, tablePath, scratchPath}) {
    std::remove(path.c_str());
  }
  rmdir(directory.c_str());
}
