// SPDX-License-Identifier: MIT
// spool [-c CONFIG] [-w] INBOX OUTBOX
//
// Store and forward: delivers each regular file of INBOX to OUTBOX under its name, the most urgent
// first, and then removes it from INBOX. Whenever the process or the machine stops, each file is
// whole in INBOX or whole in OUTBOX. Without -w it ends when nothing is left that it can deliver;
// with -w it goes on until SIGTERM or SIGINT.
//
// A producer writes under a name that starts with a dot, which is left out, and renames. It must
// not replace a file in INBOX: the system cannot remove a name on condition that it is still that
// of the file which was copied.
//
// CONFIG is a properties file:
//   workers=NUMBER  1 to 64; by default one for each processor, up to 16
//   poll=NUMBER     milliseconds from look to look into INBOX, 10 to 60000; by default 500
//   rules=FILE      a table of name suffix and priority, 0 (first) to 999; other files have 500
//
// Exit status: 0; 1 when a file failed, conflicts or kept changing; 2 when it could not start.
//
// The main thread looks into INBOX, owns the deliveries and writes to the user. Workers take the
// deliveries from one queue, and put them into another when they are done.

#include <signal.h>

#include <atomic>
#include <cstdlib>

#include "delivery.h"
#include "progress.h"
#include "vimo_util/frame/ntz.h"
#include "vimo_util/priq/RequestQueue.h"

using vimo::util::priq::PriorRequest;
using vimo::util::priq::RequestQueue;

namespace {

class Spool {
 public:
  Spool(const Settings& settings, const Directory& in, const Directory& out)
      : settings(settings), in(in), out(out), progress(settings, out) {}

  // Returns the exit status. The signals are blocked. SIGIO tells of an answer, the others end it;
  // it has the highest number, so that these are not kept waiting.
  int run(const sigset_t& signals) {
    std::vector<std::thread> workers;
    try {
      while (int(workers.size()) < settings.workers) workers.emplace_back([this] { work(); });
    } catch (const std::system_error& error) {
      progress.note(std::string("a thread: ") + error.what());
      std::_Exit(2);  // nothing has begun
    }

    const struct timespec poll = {settings.poll / 1000, settings.poll % 1000 * 1000000L};
    std::int64_t nextLook = 0;
    for (int caught = -1; caught == -1 || caught == SIGIO;) {
      takeAnswers();
      // Without a signal the time is over, whatever the clock says, which may have been set back.
      if (caught == -1 || clock.getCounter() >= nextLook || (!settings.watch && pending == 0)) {
        nextLook = clock.calcCounter(settings.poll);
        look();
      }
      if (!settings.watch && pending + paused == 0) break;
      progress.show(pending);
      caught = sigtimedwait(&signals, nullptr, &poll);
    }

    std::vector<PriorRequest> ends(workers.size(), PriorRequest(0, 0));  // ahead of all files
    for (PriorRequest& request : ends) requests.push(0, &request);
    for (std::thread& worker : workers) worker.join();
    takeAnswers();

    if (leftOut > 0) progress.note("left out, hidden or no files: " + std::to_string(leftOut));
    const auto failures = std::count_if(
        files.begin(), files.end(), [](const auto& file) { return !file.second->told.empty(); });
    const bool isSaved = progress.saveState(), isPrinted = progress.print(std::size_t(failures));
    return failures == 0 && listError.empty() && isSaved && isPrinted ? 0 : 1;
  }

 private:
  // Looks into INBOX and queues what is due.
  void look() {
    std::set<std::string> names;
    const std::string error = in.list(names);
    if (!error.empty() && error != listError) progress.note(error);
    listError = error;

    leftOut = paused = 0;
    std::vector<Delivery*> due;
    for (const std::string& name : names) {
      std::unique_ptr<Delivery>& file = files[name];
      if (file && file->isQueued) continue;
      struct stat status;
      if (name[0] == '.' || (in.find(name, status) && !S_ISREG(status.st_mode))) {
        ++leftOut;
        files.erase(name);
        continue;
      }
      if (!file) file.reset(new Delivery(name, settings, clock.getCounter()));
      if (file->isFinal || (!settings.watch && !file->reason.empty())) continue;
      if (file->pause == 0) due.push_back(file.get());
      if (file->pause > 0) --file->pause, ++paused;
    }
    for (auto i = files.begin(); i != files.end();) {
      const bool isGone = error.empty() && !i->second->isQueued && names.count(i->first) == 0;
      i = isGone ? files.erase(i) : std::next(i);
    }
    // The most urgent first, since a worker may take it at once.
    std::stable_sort(due.begin(), due.end(), [](const Delivery* a, const Delivery* b) {
      return a->priority < b->priority;
    });
    for (Delivery* const file : due) {
      file->isQueued = true;
      ++pending;
      requests.push(0, file);
    }
    if (++looks % 20 == 0) progress.saveState();
  }

  void takeAnswers() {
    unsigned int id;
    while (PriorRequest* const answer = answers.tryWait(id)) {
      answers.pop();
      --pending;
      Delivery& file = *static_cast<Delivery*>(answer);
      file.isQueued = false;
      if (file.isDelivered) {
        progress.addDelivered(file);
        files.erase(file.name);
        continue;
      }
      file.pause = 1 << std::min(file.tries++, 6);
      if (file.reason.empty() && file.tries > 3) file.reason = "keeps changing";
      if (file.reason.empty() || file.reason == file.told) continue;
      file.told = file.reason;
      progress.note(in.pathOf(file.name) + ": " + file.reason);
    }
  }

  // A worker. Its part file has the number of the lowest free slot.
  void work() {
    for (unsigned int id;;) {
      PriorRequest* const request = requests.recvWaitAndDequeue(id);
      if (request->priority == 0) return;
      std::uint64_t free = freeSlots;
      while (!freeSlots.compare_exchange_weak(free, free & (free - 1))) continue;
      static_cast<Delivery*>(request)->run(in, out, ntz_hash64(free));
      freeSlots |= free & -free;
      answers.push(0, request);
      kill(getpid(), SIGIO);
    }
  }

  const Settings& settings;
  const Directory &in, &out;
  const ClockCounter clock;
  RequestQueue requests{1, 0}, answers{2, 0};
  std::atomic<std::uint64_t> freeSlots{~std::uint64_t{0}};

  // The main thread's.
  Progress progress;
  std::map<std::string, std::unique_ptr<Delivery>> files;  // those in INBOX, by name
  std::size_t pending = 0;                                 // queued or at work
  std::size_t paused = 0;                                  // to be tried again
  std::size_t leftOut = 0, looks = 0;
  std::string listError;
};

constexpr char usage[] = "usage: spool [-c CONFIG] [-w] INBOX OUTBOX";

}  // namespace

int main(int argc, char** argv) try {
  // No file of ours must take the place of standard output or standard error.
  int null;
  while ((null = open("/dev/null", O_RDWR)) >= 0 && null <= STDERR_FILENO) continue;
  const Handle kept(null, "/dev/null");

  Settings settings;
  opterr = 0;
  for (int option; (option = getopt(argc, argv, "c:hw")) != -1;) {
    if (option == 'h') return std::puts(usage) == EOF || std::fflush(stdout) == EOF;
    if (option == '?') fail(std::string("bad option -") + char(optopt), usage);
    if (option == 'c') settings.load(optarg);
    if (option == 'w') settings.watch = true;
  }
  if (argc - optind != 2) fail("bad arguments", usage);

  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGTERM, SIGINT, SIGIO}) sigaddset(&signals, number);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  // A broken pipe or a limit of file size is an error like any other.
  for (const int number : {SIGPIPE, SIGXFSZ}) signal(number, SIG_IGN);

  const Directory in(argv[optind]), out(argv[optind + 1]);
  if (isUnchanged(in.status(), out.status())) fail(in.path, "is the same directory as " + out.path);
  for (const Directory* box : {&in, &out}) {  // for this process alone
    if (flock(box->descriptor, LOCK_EX | LOCK_NB) == -1) systemError(box->path + " may be in use");
  }
  PartFile::removeAll(out);
  return Spool(settings, in, out).run(signals);
} catch (const std::exception& error) {
  std::fprintf(stderr, "spool: %s\n", printable(error.what()).c_str());
  return 2;
}
