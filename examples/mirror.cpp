// mirror [-j WORKERS] SOURCE TARGET
//
// Copies a directory tree. The main thread walks SOURCE and makes a request of
// each file; WORKERS threads take the requests from one queue, small files
// first. A file appears under its name only when it is whole, so that mirror may
// be interrupted at any time and started again.
//
// Exit status: 0, 1 when a file could not be copied, 2 when it could not start.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "vimo_util/priq/PriorRequest.h"
#include "vimo_util/priq/RequestQueue.h"

namespace fs = std::filesystem;
using vimo::util::priq::PriorRequest;
using vimo::util::priq::RequestQueue;

namespace {

// Whoever makes a RequestQueue with this key is connected to all others.
constexpr int copyKey = 1;

// Told to a worker in place of a file's number when there is no more work.
constexpr unsigned int endOfWork = UINT_MAX;
constexpr unsigned int lastOfAll = UINT_MAX;

// A file to copy. The queue borrows it; the worker that takes it destroys it.
struct CopyRequest : PriorRequest {
  CopyRequest(fs::path file, std::uintmax_t size)
      : PriorRequest(0, static_cast<unsigned int>(std::min<std::uintmax_t>(size, lastOfAll - 1))),
        file(std::move(file)) {}
  const fs::path file;  // below SOURCE, and so below TARGET
};

[[noreturn]] void fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// What has been done, shown in place while standard error is a terminal.
class Progress {
 public:
  void expect() { ++expected; }
  void done(std::uintmax_t size) {
    std::lock_guard<std::mutex> lock(mutex);
    ++files;
    bytes += size;
    const auto now = Clock::now();
    if (terminal && now - shown > std::chrono::milliseconds(100)) {
      std::fprintf(stderr, "\r%zu of %zu files, %ju bytes", files, expected, bytes);
      shown = now;
    }
  }
  void note(const std::string& line) {
    std::lock_guard<std::mutex> lock(mutex);
    std::fprintf(stderr, "%smirror: %s\n", clearLine(), line.c_str());
  }
  void failed(const std::string& line) {
    note(line);
    std::lock_guard<std::mutex> lock(mutex);
    ++failures;
  }
  // The exit status, once the work is over and told of.
  int finish() {
    std::fputs(clearLine(), stderr);
    const std::chrono::duration<double> took = Clock::now() - start;
    std::printf("%zu files, %ju bytes, %.2f s\n", files, bytes, took.count());
    return failures == 0 ? 0 : 1;
  }

 private:
  using Clock = std::chrono::steady_clock;
  const char* clearLine() const { return terminal ? "\r\033[K" : ""; }

  const bool terminal = isatty(STDERR_FILENO);
  const Clock::time_point start = Clock::now();
  std::mutex mutex;
  Clock::time_point shown;
  std::size_t expected = 0;
  std::size_t files = 0;
  std::uintmax_t bytes = 0;
  std::size_t failures = 0;
};

class Descriptor {
 public:
  Descriptor(const fs::path& path, int flags, mode_t mode = 0)
      : number(open(path.c_str(), flags | O_CLOEXEC, mode)) {
    if (number < 0) fail(path.string());
  }
  ~Descriptor() { close(number); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  const int number;
};

// Where each worker builds the file at hand, in TARGET itself. They are a list
// of their own so that the handler of a signal finds them.
const std::string partialPrefix = ".mirror.part-";
std::vector<std::string> partials;

bool isPartial(const fs::path& path) {
  return path.native().compare(0, partialPrefix.size(), partialPrefix) == 0;
}

void removePartialsAndDie(int signal) {
  for (const std::string& partial : partials) unlink(partial.c_str());
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// Copies the content and the permissions of `from` to `partial`; returns the size.
std::uintmax_t copyContent(const fs::path& from, const std::string& partial) {
  const Descriptor in(from, O_RDONLY | O_NOFOLLOW);
  const Descriptor out(partial, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  struct stat status;
  if (fstat(in.number, &status) != 0) fail(from.string());

  std::uintmax_t size = 0;
  std::vector<char> block(1 << 16);
  while (const ssize_t got = read(in.number, block.data(), block.size())) {
    if (got < 0) fail(from.string());
    for (ssize_t written = 0; written < got;) {
      const ssize_t put = write(out.number, block.data() + written, got - written);
      if (put < 0) fail(partial);
      written += put;
    }
    size += got;
  }
  if (fchmod(out.number, status.st_mode & 07777) != 0) fail(partial);
  return size;
}

void work(const fs::path& source, const fs::path& target, const std::string& partial,
          Progress& progress) {
  RequestQueue queue(copyKey, 0);
  for (;;) {
    unsigned int number;
    PriorRequest* const request = queue.recvWaitAndDequeue(number);
    if (number == endOfWork) return;
    const std::unique_ptr<CopyRequest> copy(static_cast<CopyRequest*>(request));
    try {
      const std::uintmax_t size = copyContent(source / copy->file, partial);
      fs::rename(partial, target / copy->file);
      progress.done(size);
    } catch (const std::exception& error) {
      progress.failed(error.what());
      unlink(partial.c_str());
    }
  }
}

// Makes the directories of TARGET and queues a request for each file.
class Walk {
 public:
  Walk(fs::path source, fs::path target, Progress& progress)
      : source(std::move(source)), target(std::move(target)), progress(progress) {}

  void enter(const fs::path& directory) {
    try {
      // Open to its owner while it is filled, a read-only one too.
      fs::create_directory(target / directory);
      fs::permissions(target / directory, fs::perms::owner_all, fs::perm_options::add);
      directories.push_back(directory);
      for (const fs::directory_entry& entry : fs::directory_iterator(source / directory)) {
        meet(directory / entry.path().filename(), entry.symlink_status().type());
      }
    } catch (const std::exception& error) {
      progress.failed(error.what());
    }
  }

  // Gives the directories their permissions, the deepest ones first.
  void close() {
    for (auto directory = directories.rbegin(); directory != directories.rend(); ++directory) {
      try {
        fs::permissions(target / *directory, fs::status(source / *directory).permissions());
      } catch (const std::exception& error) {
        progress.failed(error.what());
      }
    }
  }

 private:
  void meet(const fs::path& path, fs::file_type type) {
    if (isPartial(path) || (type != fs::file_type::directory && type != fs::file_type::regular)) {
      progress.note("left out: " + (source / path).string());
    } else if (type == fs::file_type::directory) {
      enter(path);
    } else {
      auto request = std::make_unique<CopyRequest>(path, fs::file_size(source / path));
      queue.push(files++, request.get());
      request.release();
      progress.expect();
    }
  }

  const fs::path source;
  const fs::path target;
  Progress& progress;
  RequestQueue queue{copyKey, 0};
  unsigned int files = 0;
  std::vector<fs::path> directories;
};

int mirror(const fs::path& source, const fs::path& target, std::size_t workers) {
  // What a run that was killed has left.
  for (const fs::directory_entry& entry : fs::directory_iterator(target)) {
    if (isPartial(entry.path().filename())) fs::remove(entry.path());
  }
  for (std::size_t i = 0; i < workers; ++i) {
    partials.push_back((target / partialPrefix).string() + std::to_string(i));
  }
  std::signal(SIGINT, removePartialsAndDie);
  std::signal(SIGTERM, removePartialsAndDie);

  Progress progress;
  Walk walk(source, target, progress);
  walk.enter("");

  // Behind every file, whatever its size: one end for each worker.
  std::vector<PriorRequest> ends(workers, PriorRequest(0, lastOfAll));
  for (PriorRequest& end : ends) RequestQueue(copyKey, 0).push(endOfWork, &end);
  std::vector<std::thread> threads;
  for (const std::string& partial : partials) {
    try {
      threads.emplace_back([&] { work(source, target, partial, progress); });
    } catch (const std::system_error& error) {
      if (threads.empty()) throw;
      progress.note(std::string("fewer workers: ") + error.what());
      break;
    }
  }
  for (std::thread& thread : threads) thread.join();
  walk.close();
  return progress.finish();
}

bool isInside(const fs::path& path, const fs::path& directory) {
  return std::mismatch(directory.begin(), directory.end(), path.begin(), path.end()).first ==
         directory.end();
}

int refuse(const std::string& line) {
  std::fprintf(stderr, "mirror: %s\nusage: mirror [-j WORKERS] SOURCE TARGET\n", line.c_str());
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  unsigned long workers = std::max(1u, std::thread::hardware_concurrency());
  opterr = 0;
  for (int option; (option = getopt(argc, argv, "j:")) != -1;) {
    if (option != 'j') return refuse("unknown option or no value: -" + std::string(1, optopt));
    char* end;
    workers = std::strtoul(optarg, &end, 10);
    if (*end != '\0' || workers < 1 || workers > 64)
      return refuse("-j takes a number from 1 to 64");
  }
  if (argc - optind != 2) return refuse("needs a SOURCE and a TARGET");
  try {
    const fs::path source = fs::canonical(argv[optind]);
    if (!fs::is_directory(source)) return refuse(source.string() + " is no directory");
    const fs::path target = fs::weakly_canonical(argv[optind + 1]);
    if (isInside(target, source)) return refuse(target.string() + " is inside " + source.string());
    fs::create_directories(target);
    return mirror(source, target, workers);
  } catch (const std::exception& error) {
    return refuse(error.what());
  }
}
