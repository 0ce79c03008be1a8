// Loading a table beside what a user would take instead. Names read row/contestant.
// The table lies in the working directory.

#include <benchmark/benchmark.h>
#include <csv.h>
#include <malloc.h>

#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "vimo_util/config/CommaSeparatedValues.h"

namespace {

using Rows = std::vector<std::vector<std::string>>;

void ours(benchmark::State& state) {
  for (auto _ : state) {
    vimo::util::config::CommaSeparatedValues table;
    table.load("table.csv");
  }
}

void byHand(benchmark::State& state) {
  for (auto _ : state) {
    Rows rows;
    std::ifstream in("table.csv");
    for (std::string line; std::getline(in, line);) {
      rows.emplace_back();
      std::size_t begin = 0;
      for (std::size_t comma; (comma = line.find(',', begin)) != line.npos; begin = comma + 1) {
        rows.back().push_back(line.substr(begin, comma - begin));
      }
      rows.back().push_back(line.substr(begin));
    }
  }
}

void libcsv(benchmark::State& state) {
  const auto cell = [](void* bytes, std::size_t size, void* rows) {
    static_cast<Rows*>(rows)->back().emplace_back(static_cast<char*>(bytes), size);
  };
  const auto row = [](int, void* rows) { static_cast<Rows*>(rows)->emplace_back(); };
  for (auto _ : state) {
    Rows rows(1);
    csv_parser parser;
    csv_init(&parser, 0);
    std::ifstream in("table.csv");
    for (char block[8192]; in.read(block, sizeof block), in.gcount() > 0;) {
      csv_parse(&parser, block, in.gcount(), cell, row, &rows);
    }
    csv_fini(&parser, cell, row, &rows);
    csv_free(&parser);
  }
}

BENCHMARK(ours)->Name("load 200k rows of 10 cells/vimo_util");
BENCHMARK(byHand)->Name("load 200k rows of 10 cells/getline and find");
BENCHMARK(libcsv)->Name("load 200k rows of 10 cells/libcsv");

}  // namespace

int main(int argc, char** argv) {
  // Keep freed memory: else the kernel, which clears its pages, is what is timed.
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_MAX, 0);
  std::minstd_rand random(1);
  std::ofstream table("table.csv");
  for (int cell = 1; cell <= 2000000; ++cell) {
    table << (random() >> random() % 20) << (cell % 10 == 0 ? '\n' : ',');
  }
  table.close();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
