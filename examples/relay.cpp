// SPDX-License-Identifier: MIT
// relay [-j WORKERS] HOST:PORT TUBE
//
// Works on the jobs in a tube of a beanstalkd server and on requests of this process, which are
// lines `PRIORITY BODY` on standard input: always the most urgent of both first. The work is to
// write `PRIORITY BODY` as one line to standard output, with `\n` for a newline.
//
// There are as many connections as workers, each with one job at a time. Its thread reserves the
// job, pushes it into the queue of the workers, and deletes it when the work is done. The server
// takes back what a connection holds when it ends. So no job is lost, whoever dies; a job that was
// at work then may be done twice.
//
// SIGTERM: what is at work is finished, the rest goes back to the server, and the status is 0.

#include <netdb.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "vimo_util/priq/RequestQueue.h"

enum Id : unsigned int { endOfWork, ours, job };  // what a request is

vimo::util::priq::RequestQueue queue(1, 0);
std::atomic<bool> stopping{false};

struct Request : vimo::util::priq::PriorRequest {
  Request(unsigned int priority, const std::string& body) : PriorRequest(0, priority), body(body) {}
  const std::string body;
  std::promise<bool> done;  // false if it was not done because we are stopping
};

// Queues a request, which is the worker's from then on. Returns what tells that it was done.
std::future<bool> give(Id id, unsigned int priority, const std::string& body) {
  auto request = std::make_unique<Request>(priority, body);
  auto done = request->done.get_future();
  queue.push(id, request.get());
  request.release();
  return done;
}

// Tells why there is no connection. No thread repeats itself.
void tell(const std::string& what) {
  thread_local std::string last;
  if (what != last) std::fprintf(stderr, "relay: %s\n", what.c_str());
  last = what;
}

// The workers.

void write(const Request& request) {
  std::string line = std::to_string(request.priority) + ' ';
  for (const char c : request.body) line += c == '\n' ? "\\n" : std::string(1, c);
  line += '\n';
  if (std::fwrite(line.data(), line.size(), 1, stdout) != 1 || std::fflush(stdout) != 0) {
    std::perror("relay: standard output");
    std::_Exit(1);  // the server takes all jobs back
  }
}

void work() {
  for (;;) {
    unsigned int id;
    const std::unique_ptr<Request> request(static_cast<Request*>(queue.recvWaitAndDequeue(id)));
    if (id == endOfWork) return;
    const bool wanted = !stopping;
    if (wanted) write(*request);
    if (!wanted && id == ours) std::fprintf(stderr, "relay: not done: %s\n", request->body.c_str());
    request->done.set_value(wanted);
  }
}

// The connections. The server's protocol is a line, a line in reply, and perhaps data.

using Server = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

Server connectTo(const std::string& address) {
  const std::size_t colon = address.rfind(':');
  const std::string host = address.substr(0, colon), port = address.substr(colon + 1);
  const addrinfo hints = {0, AF_INET, SOCK_STREAM, 0, 0, nullptr, nullptr, nullptr};
  addrinfo* found;
  if (getaddrinfo(host.c_str(), port.c_str(), &hints, &found) != 0)
    throw std::runtime_error(address + ": no such host or port");
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> freed(found, freeaddrinfo);
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  Server server(fd < 0 ? nullptr : fdopen(fd, "r"), std::fclose);
  const timeval limit = {10, 0};  // for a server that vanishes without a word
  if (!server || setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)) != 0 ||
      connect(fd, found->ai_addr, found->ai_addrlen) != 0)
    throw std::runtime_error(address + ": " + std::strerror(errno));
  return server;
}

std::string ask(Server& server, const std::string& query, const std::string& word) {
  char line[256];
  dprintf(fileno(server.get()), "%s\r\n", query.c_str());  // if this fails, the next line does
  if (!std::fgets(line, sizeof line, server.get())) throw std::runtime_error(query + ": no answer");
  std::string reply(line, std::strcspn(line, "\r"));
  if (reply.find(word) != 0 && reply != "TIMED_OUT") throw std::runtime_error(query + ": " + reply);
  return reply;
}

std::string dataOf(Server& server, const std::string& reply) {
  std::string data(std::stoul(reply.substr(reply.rfind(' '))) + 2, '\0');
  if (std::fread(&data[0], data.size(), 1, server.get()) != 1)
    throw std::runtime_error("data: no answer");
  return data.substr(0, data.size() - 2);  // without the end of the line
}

// Sees one job through, if one comes within a second.
void relay(Server& server) {
  const std::string reply = ask(server, "reserve-with-timeout 1", "RESERVED");
  if (reply == "TIMED_OUT") return;
  const std::string body = dataOf(server, reply);
  const std::string id = reply.substr(8, reply.rfind(' ') - 8);  // and the blank before it
  const std::string yaml = dataOf(server, ask(server, "stats-job" + id, "OK"));
  const auto field = [&](const char* name) { return std::stoul(yaml.substr(yaml.find(name) + 6)); };

  std::future<bool> done = give(job, field("\npri: "), body);
  const std::chrono::milliseconds third(field("\nttr: ") * 1000 / 3);
  while (done.wait_for(third) == std::future_status::timeout) ask(server, "touch" + id, "TOUCHED");
  if (done.get()) ask(server, "delete" + id, "DELETED");
}

void serve(const std::string& address, const std::string& tube) {
  while (!stopping) {
    try {
      Server server = connectTo(address);
      ask(server, "watch " + tube, "WATCHING");
      if (tube != "default") ask(server, "ignore default", "WATCHING");
      while (!stopping) relay(server);
    } catch (const std::exception& error) {
      tell(error.what());
      usleep(200000);
    }
  }
}

void readOurs() {
  for (std::string line; std::getline(std::cin, line);) {
    char* body;
    const unsigned long long priority = std::strtoull(line.c_str(), &body, 10);
    if (body == line.c_str() || *body != ' ' || priority > ~0U)
      std::fprintf(stderr, "relay: no PRIORITY: %s\n", line.c_str());
    else
      give(ours, static_cast<unsigned int>(priority), body + 1);
  }
}

int main(int argc, char* argv[]) {
  const int option = getopt(argc, argv, "j:");
  const int workers = option == 'j' ? std::atoi(optarg) : option == -1 ? 4 : 0;
  if (workers < 1 || workers > 64 || optind + 2 != argc) {
    std::fputs("usage: relay [-j WORKERS] HOST:PORT TUBE, with 1 to 64 WORKERS\n", stderr);
    return 2;
  }
  sigset_t ends;
  sigemptyset(&ends);
  sigaddset(&ends, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &ends, nullptr);  // in every thread: they inherit it
  signal(SIGPIPE, SIG_IGN);

  std::vector<std::thread> crew, connections;
  for (int i = 0; i != workers; ++i) {
    connections.emplace_back(serve, argv[optind], argv[optind + 1]);
    crew.emplace_back(work);
  }
  std::thread(readOurs).detach();
  while (sigwaitinfo(&ends, nullptr) == -1) continue;

  stopping = true;
  for (std::thread& connection : connections) connection.join();
  for (int i = 0; i != workers; ++i) give(endOfWork, ~0U, "");
  for (std::thread& worker : crew) worker.join();
  std::_Exit(0);  // the thread that reads our input may still wait for more
}
