// Files, the clock and the trailing-zero count beside what a user would write
// instead. Files lie in memory. Names read row/contestant; a contestant counts
// once its result has been found right. "bare" makes the system calls that the
// library's rules ask for, and no more.

#include "vimo_util/file/File.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "vimo_util/frame/ClockCounter.h"
#include "vimo_util/frame/ntz.h"

namespace {

namespace fs = std::filesystem;
using vimo::util::File;

struct Descriptor {
  explicit Descriptor(int fd) : fd(fd) {}
  ~Descriptor() { close(fd); }
  const int fd;
};

// The copy that the library's rules describe: never a file onto itself, blocks of
// 1024 bytes on the stack, then a flush. Unchecked, it would empty such a file.
template <bool checked>
long bareCopy(const fs::path& from, const fs::path& to) {
  const Descriptor in(open(from.c_str(), O_RDWR));
  struct stat source, target;
  if (checked && fstat(in.fd, &source) == 0 && stat(to.c_str(), &target) == 0 &&
      source.st_dev == target.st_dev && source.st_ino == target.st_ino) {
    return -1;
  }
  const Descriptor out(creat(to.c_str(), 0666));
  char block[1024];
  long copied = 0;
  for (ssize_t count; (count = read(in.fd, block, sizeof block)) > 0; copied += count) {
    if (write(out.fd, block, count) != count) return -1;
  }
  std::fflush(nullptr);
  return copied;
}

long fileCopy(const fs::path& from, const fs::path& to) {
  File source(from.native()), dest(to.native());
  return source.copyTo(dest);
}

long filesystemCopy(const fs::path& from, const fs::path& to) {
  fs::copy_file(from, to, fs::copy_options::overwrite_existing);
  return fs::file_size(to);
}

long sendfileCopy(const fs::path& from, const fs::path& to) {
  const Descriptor in(open(from.c_str(), O_RDONLY)), out(creat(to.c_str(), 0666));
  long copied = 0;
  for (ssize_t count; (count = sendfile(out.fd, in.fd, nullptr, 1 << 30)) > 0; copied += count) {
  }
  return copied;
}

// Sizes first, as the rules have it.
int bareCompare(const fs::path& one, const fs::path& other) {
  const Descriptor a(open(one.c_str(), O_RDWR)), b(open(other.c_str(), O_RDWR));
  struct stat sizeA, sizeB;
  if (stat(one.c_str(), &sizeA) != 0 || stat(other.c_str(), &sizeB) != 0) return -1;
  if (sizeA.st_size != sizeB.st_size) return 1;
  char blockA[1024], blockB[1024];
  for (;;) {
    const ssize_t count = read(a.fd, blockA, sizeof blockA);
    if (count <= 0 || read(b.fd, blockB, sizeof blockB) != count) return static_cast<int>(count);
    if (const int difference = std::memcmp(blockA, blockB, count)) return difference;
  }
}

int fileCompare(const fs::path& one, const fs::path& other) {
  File a(one.native()), b(other.native());
  return a.compareTo(b);
}

std::string get(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

__attribute__((noinline)) int builtinCount(std::uint64_t x) { return __builtin_ctzll(x); }

std::int64_t bareCounter() {
  struct timeval now;
  gettimeofday(&now, nullptr);
  return std::int64_t{now.tv_sec} * 1000000 + now.tv_usec;
}

void add(const std::string& row, const std::string& contestant, std::function<bool()> right,
         std::function<void(benchmark::State&)> loop) {
  const auto body = [=](benchmark::State& state) {
    if (!right()) return state.SkipWithError("wrong result");
    loop(state);
  };
  benchmark::RegisterBenchmark((row + "/" + contestant).c_str(), body);
}

template <class Work>
std::function<void(benchmark::State&)> repeat(Work work) {
  return [=](benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(work());
  };
}

void addFiles(const fs::path& directory, const std::string& name, std::size_t size) {
  const fs::path from = directory / (name + " from"), to = directory / (name + " to");
  std::mt19937_64 random(size);
  {
    std::ofstream out(from, std::ios::binary);
    for (std::size_t i = 0; i < size; i += 8) {
      const std::uint64_t word = random();
      out.write(reinterpret_cast<const char*>(&word), sizeof word);
    }
  }
  const auto copy = [=](const char* contestant, long (*work)(const fs::path&, const fs::path&)) {
    const auto right = [=] {
      std::ofstream(to) << "old";
      return work(from, to) == static_cast<long>(size) && get(from) == get(to);
    };
    add("copyTo " + name, contestant, right, repeat([=] { return work(from, to); }));
  };
  copy("vimo_util", fileCopy);
  copy("bare", bareCopy<true>);
  copy("unchecked", bareCopy<false>);
  copy("filesystem", filesystemCopy);
  copy("sendfile", sendfileCopy);

  const auto compare = [=](const char* contestant, int (*work)(const fs::path&, const fs::path&)) {
    const auto right = [=] {
      fs::copy_file(from, to, fs::copy_options::overwrite_existing);
      const bool equal = work(from, to) == 0;
      std::fstream last(to, std::ios::binary | std::ios::in | std::ios::out);
      last.seekp(size - 1).put('x').flush();
      const bool different = work(from, to) != 0;
      fs::copy_file(from, to, fs::copy_options::overwrite_existing);
      return equal && different;
    };
    add("compareTo " + name, contestant, right, repeat([=] { return work(from, to); }));
  };
  compare("vimo_util", fileCompare);
  compare("bare", bareCompare);
}

void addListing(const fs::path& directory) {
  const auto entries = directory / "entries";
  fs::create_directory(entries);
  std::vector<std::string> names;
  for (int i = 0; i < 100000; ++i) {
    names.push_back("entry " + std::to_string(i));
    std::ofstream(entries / names.back());
  }
  std::sort(names.begin(), names.end());
  const auto list = [=] {
    std::vector<File> files;
    File(entries.native()).listFiles(files);
    return files;
  };
  const auto iterate = [=] {
    std::vector<fs::path> paths;
    for (const auto& entry : fs::directory_iterator(entries)) paths.push_back(entry.path());
    return paths;
  };
  const auto right = [=](const auto& found, auto nameOf) {
    std::vector<std::string> sorted;
    for (const auto& one : found) sorted.push_back(nameOf(one));
    std::sort(sorted.begin(), sorted.end());
    return sorted == names;
  };
  add(
      "listFiles 100k", "vimo_util",
      [=] { return right(list(), [](const File& file) { return file.getPath(); }); }, repeat(list));
  add(
      "listFiles 100k", "filesystem",
      [=] { return right(iterate(), [](const fs::path& path) { return path.filename(); }); },
      repeat(iterate));
}

void addCounts() {
  const ClockCounter clock;
  const auto right = [=] {
    const std::int64_t before = bareCounter(), now = clock.getCounter();
    return before <= now && now <= bareCounter();
  };
  add("getCounter", "vimo_util", right, repeat([=] { return clock.getCounter(); }));
  add("getCounter", "bare", right, repeat(bareCounter));

  const auto equal = [] {
    for (int i = 0; i < 64; ++i) {
      if (ntz_hash64(~0ull << i) != builtinCount(~0ull << i)) return false;
    }
    return true;
  };
  const auto count = [](auto work) {
    return [=](benchmark::State& state) {
      std::uint64_t x = 1;
      for (auto _ : state) {
        benchmark::DoNotOptimize(work(x));
        x = x << 1 | x >> 63;
      }
    };
  };
  add("ntz_hash64", "vimo_util", equal, count(ntz_hash64));
  add("ntz_hash64", "bare", equal, count(builtinCount));
}

}  // namespace

int main(int argc, char** argv) {
  std::string directory = "/dev/shm/file_bench.XXXXXX";
  if (!mkdtemp(&directory[0])) return 1;
  addFiles(directory, "1 KiB", 1 << 10);
  addFiles(directory, "1 MiB", 1 << 20);
  addFiles(directory, "256 MiB", 1 << 28);
  addListing(directory);
  addCounts();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  fs::remove_all(directory);
}
