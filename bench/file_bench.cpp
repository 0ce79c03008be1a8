// Whole files beside what a user would take instead. Names read row/contestant.

#include "vimo_util/file/File.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;
using vimo::util::File;

// In memory, so that no disk is measured.
const std::string from = "/dev/shm/file_bench.from";
const std::string to = "/dev/shm/file_bench.to";

// Two equal files.
void make(int size) {
  std::ofstream(from) << std::string(size, 'x');
  fs::copy_file(from, to, fs::copy_options::overwrite_existing);
}

void copy(benchmark::State& state, int size) {
  make(size);
  for (auto _ : state) {
    File source(from), dest(to);
    source.copyTo(dest);
  }
}

void copyByFilesystem(benchmark::State& state, int size) {
  make(size);
  for (auto _ : state) fs::copy_file(from, to, fs::copy_options::overwrite_existing);
}

template <int blockSize>
void copyByHand(benchmark::State& state, int size) {
  make(size);
  for (auto _ : state) {
    const int in = open(from.c_str(), O_RDONLY);
    const int out = creat(to.c_str(), 0666);
    char block[blockSize];
    for (ssize_t count; (count = read(in, block, sizeof block)) > 0;) {
      if (write(out, block, count) != count) state.SkipWithError("cannot write");
    }
    close(in);
    close(out);
  }
}

void compare(benchmark::State& state, int size) {
  make(size);
  for (auto _ : state) {
    File one(from), other(to);
    benchmark::DoNotOptimize(one.compareTo(other));
  }
}

template <int blockSize>
void compareByHand(benchmark::State& state, int size) {
  make(size);
  for (auto _ : state) {
    const int one = open(from.c_str(), O_RDONLY);
    const int other = open(to.c_str(), O_RDONLY);
    char a[blockSize], b[blockSize];
    for (ssize_t count; (count = read(one, a, sizeof a)) > 0;) {
      if (read(other, b, sizeof b) != count || std::memcmp(a, b, count) != 0) {
        state.SkipWithError("they differ");
      }
    }
    close(one);
    close(other);
  }
}

void enter(const std::string& size, int bytes) {
  const auto row = [&](const std::string& name, void (*work)(benchmark::State&, int)) {
    benchmark::RegisterBenchmark(name.c_str(), work, bytes);
  };
  row("copy " + size + "/vimo_util", copy);
  row("copy " + size + "/filesystem", copyByFilesystem);
  row("copy " + size + "/by hand, 1 KiB a read", copyByHand<1024>);
  row("copy " + size + "/by hand, 64 KiB a read", copyByHand<65536>);
  row("compare " + size + "/vimo_util", compare);
  row("compare " + size + "/by hand, 1 KiB a read", compareByHand<1024>);
  row("compare " + size + "/by hand, 64 KiB a read", compareByHand<65536>);
}

}  // namespace

int main(int argc, char** argv) {
  enter("1 KiB", 1 << 10);
  enter("1 MiB", 1 << 20);
  enter("64 MiB", 1 << 26);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  fs::remove(from);
  fs::remove(to);
}
