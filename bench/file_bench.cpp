// Whole files beside what a user would take instead. Names read row/contestant/bytes.
// The files lie in the working directory.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "vimo_util/file/File.h"

namespace {

using vimo::util::File;

const auto overwrite = std::filesystem::copy_options::overwrite_existing;

void makeTwoEqualFiles(long size) {
  std::ofstream("from") << std::string(size, 'x');
  std::filesystem::copy_file("from", "to", overwrite);
}

void copy(benchmark::State& state) {
  makeTwoEqualFiles(state.range(0));
  for (auto _ : state) {
    File from("from"), to("to");
    from.copyTo(to);
  }
}

void copyByFilesystem(benchmark::State& state) {
  makeTwoEqualFiles(state.range(0));
  for (auto _ : state) std::filesystem::copy_file("from", "to", overwrite);
}

template <int blockSize>
void copyByHand(benchmark::State& state) {
  makeTwoEqualFiles(state.range(0));
  for (auto _ : state) {
    const int from = open("from", O_RDONLY);
    const int to = creat("to", 0666);
    char block[blockSize];
    for (ssize_t count; (count = read(from, block, sizeof block)) > 0;) {
      if (write(to, block, count) != count) state.SkipWithError("cannot write");
    }
    close(from);
    close(to);
  }
}

void compare(benchmark::State& state) {
  makeTwoEqualFiles(state.range(0));
  for (auto _ : state) {
    File from("from"), to("to");
    benchmark::DoNotOptimize(from.compareTo(to));
  }
}

template <int blockSize>
void compareByHand(benchmark::State& state) {
  makeTwoEqualFiles(state.range(0));
  for (auto _ : state) {
    const int from = open("from", O_RDONLY);
    const int to = open("to", O_RDONLY);
    char a[blockSize], b[blockSize];
    for (ssize_t count; (count = read(from, a, sizeof a)) > 0;) {
      if (read(to, b, sizeof b) != count || std::memcmp(a, b, count) != 0) {
        state.SkipWithError("they differ");
      }
    }
    close(from);
    close(to);
  }
}

BENCHMARK(copy)->Name("copy, bytes/vimo_util")->Arg(1000)->Arg(1000000);
BENCHMARK(copyByFilesystem)->Name("copy, bytes/filesystem")->Arg(1000)->Arg(1000000);
BENCHMARK(copyByHand<1024>)->Name("copy, bytes/blocks of 1 KiB")->Arg(1000)->Arg(1000000);
BENCHMARK(copyByHand<65536>)->Name("copy, bytes/blocks of 64 KiB")->Arg(1000)->Arg(1000000);
BENCHMARK(compare)->Name("compare, bytes/vimo_util")->Arg(1000)->Arg(1000000);
BENCHMARK(compareByHand<1024>)->Name("compare, bytes/blocks of 1 KiB")->Arg(1000)->Arg(1000000);
BENCHMARK(compareByHand<65536>)->Name("compare, bytes/blocks of 64 KiB")->Arg(1000)->Arg(1000000);

}  // namespace

BENCHMARK_MAIN();
