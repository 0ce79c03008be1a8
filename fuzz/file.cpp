// Operations of File in a scratch folder against a plain model of their rules, which keeps the
// folder in memory and is right for a superuser and for others.

#include "vimo_util/file/File.h"

#include <dirent.h>
#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "fuzzing.h"

namespace {

using vimo::util::File;
using vimo::util::FileException;

constexpr int mostSteps = 100;
constexpr std::size_t blockSize = 1024;
constexpr std::size_t mostContent = 1 << 16;  // copied, as contents could double at each step

// A folder for the whole process.
struct Scratch {
  Scratch() {
    umask(022);
    require(mkdtemp(path) != nullptr, "there is a scratch folder");
    // Whether modes bind this process; not every superuser's do not.
    const std::string probe = std::string(path) + "/probe";
    close(open(probe.c_str(), O_CREAT | O_WRONLY, 0));
    superuser = access(probe.c_str(), R_OK | W_OK) == 0;
    unlink(probe.c_str());
  }
  ~Scratch() { rmdir(path); }

  char path[26] = "/dev/shm/vimo_util.XXXXXX";
  bool superuser;
} scratch;

struct Node {
  mode_t mode;          // the type too
  std::string content;  // of a link: where it leads, a name beside it
  std::map<std::string, std::shared_ptr<Node>> entries;

  bool isDirectory() const { return S_ISDIR(mode); }
  bool allows(mode_t ownerBits) const {
    if (!scratch.superuser) return (mode & ownerBits) == ownerBits;
    return (ownerBits & 0100) == 0 || isDirectory() || (mode & 0111) != 0;
  }
  bool holds(const Node* other) const {
    return this == other || std::any_of(entries.begin(), entries.end(), [&](const auto& entry) {
             return entry.second->holds(other);
           });
  }
};
using NodePtr = std::shared_ptr<Node>;

// Where a path leads.
struct Place {
  Node* directory = nullptr;  // that holds the name, or null if none can be reached
  std::string name;
  std::string absolute;
  NodePtr node;  // what lies there, if anything

  explicit operator bool() const { return node != nullptr; }
  bool mayChange() const { return directory != nullptr && directory->allows(0300); }
  Node& put(NodePtr made) const { return *(directory->entries[name] = std::move(made)); }
};

NodePtr root;

Place walk(Node& directory, const std::string& absolute, const std::string& path, bool follow,
           int links) {
  if (!directory.isDirectory() || !directory.allows(0100) || links > 40) return Place();
  const std::size_t slash = path.find('/');
  Place place;
  place.directory = &directory;
  place.name = path.substr(0, slash);
  place.absolute = absolute + "/" + place.name;
  const auto found = directory.entries.find(place.name);
  if (found != directory.entries.end()) place.node = found->second;
  const std::string rest = slash == path.npos ? "" : path.substr(slash);
  if (place && S_ISLNK(place.node->mode) && (follow || !rest.empty())) {
    return walk(directory, absolute, place.node->content + rest, follow, links + 1);
  }
  if (rest.empty()) return place;
  return place ? walk(*place.node, place.absolute, rest.substr(1), follow, links) : Place();
}

Place find(const std::string& path, bool follow = true) {
  const std::string top = std::string(scratch.path) + "/";
  if (path.compare(0, top.size(), top) != 0) return Place();
  return walk(*root, scratch.path, path.substr(top.size()), follow, 0);
}

// As open() with O_CREAT does.
NodePtr openOrMake(const std::string& path) {
  const Place place = find(path);
  if (place) return !place.node->isDirectory() && place.node->allows(0200) ? place.node : nullptr;
  if (!place.mayChange()) return nullptr;
  place.put(std::make_shared<Node>(Node{S_IFREG | 0644, "", {}}));
  return place.directory->entries[place.name];
}

struct Descriptor {
  NodePtr node;
  bool readable;
  std::size_t position;

  std::string read() {
    if (!readable) throw FileException("copy: read error");
    const std::string& content = node->content;
    const std::string block = content.substr(std::min(position, content.size()), blockSize);
    position += block.size();
    return block;
  }
  void write(const std::string& block) {
    std::string& content = node->content;
    content.resize(std::max(content.size(), position + block.size()));
    content.replace(position, block.size(), block);
    position += block.size();
  }
};

// The model of a File.
class PlainFile {
 public:
  explicit PlainFile(std::string path) : path(std::move(path)) {}
  PlainFile(const PlainFile& other) : path(other.path) {}
  PlainFile(PlainFile&&) = default;
  PlainFile& operator=(PlainFile&&) = default;
  PlainFile& operator=(const PlainFile& other) {
    return this == &other ? *this : *this = PlainFile(other);
  }

  const std::string& getPath() const { return path; }
  bool exists() { return bool(find(path)); }
  int length() { return static_cast<int>(size(status())); }
  bool isDirectory() { return status().node->isDirectory(); }
  bool isFile() { return !isDirectory(); }
  bool canRead() { return can(0400); }
  bool canWrite() { return can(0200); }
  bool canExecute() { return can(0100); }
  bool setReadable(bool on) { return set(0400, on); }
  bool setWritable(bool on) { return set(0200, on); }
  bool setExecutable(bool on) { return set(0100, on); }
  bool setReadableAll(bool on) { return set(0444, on); }
  bool setWritableAll(bool on) { return set(0222, on); }
  bool setExecutableAll(bool on) { return set(0111, on); }

  std::string getAbsolutePath() {
    const Place place = find(path);
    if (!place) throw FileException("E: getAbsPath of " + path);
    return place.absolute;
  }
  PlainFile getParent() {
    const Place place = status();
    const std::size_t last = place.absolute.rfind('/');
    return PlainFile(place.absolute.substr(0, last + (place.node->isDirectory() ? 0 : 1)));
  }
  void listFiles(std::vector<PlainFile>& files) {
    const NodePtr node = status().node;
    if (!node->isDirectory()) throw FileException("illegal operation, listFiles");
    if (!node->allows(0400)) throw FileException("dir open failed");
    for (const auto& entry : node->entries) files.emplace_back(entry.first);
  }
  void mkdir() {
    const Place place = find(path, false);
    if (place || !place.mayChange()) throw FileException("mkdir failed, " + path);
    place.put(std::make_shared<Node>(Node{S_IFDIR | 0750, "", {}}));
  }
  void touch() {
    if (!openOrMake(path)) throw FileException("touch failed, " + path);
  }
  void deleteThis() {
    descriptor.reset();
    const Place place = find(path, false);
    if (!place || place.node->isDirectory() || !place.mayChange()) {
      throw FileException("unlink failed");
    }
    place.directory->entries.erase(place.name);
  }
  void renameTo(PlainFile& other) {
    other.descriptor.reset();
    const Place from = find(path, false), to = find(other.path, false);
    if (!from || !to.directory) throw FileException("rename failed");
    if (from.node != to.node) {
      const bool directory = from.node->isDirectory();
      if (!from.mayChange() || !to.mayChange() || from.node->holds(to.directory) ||
          (directory && from.directory != to.directory && !from.node->allows(0200)) ||
          (to && (to.node->isDirectory() != directory || !to.node->entries.empty()))) {
        throw FileException("rename failed");
      }
      from.directory->entries.erase(from.name);
      to.put(from.node);
    }
    path = other.path;
  }
  int compareTo(PlainFile& other) {
    open();
    other.open();
    if (!descriptor || !other.descriptor) return -1;
    const int difference = length() - other.length();
    if (difference != 0) return difference;
    for (;;) {
      const std::string block = descriptor->read();
      if (block.empty()) return 0;
      const std::string otherBlock = other.descriptor->read();
      if (otherBlock.empty()) return 0;
      if (block.size() != otherBlock.size()) {
        return static_cast<int>(block.size()) - static_cast<int>(otherBlock.size());
      }
      const int order = std::memcmp(block.data(), otherBlock.data(), block.size());
      if (order != 0) return order;
    }
  }
  int copyTo(PlainFile& dest) {
    if (this == &dest) return -1;
    open();
    if (!descriptor) return -1;
    if (descriptor->node == (dest.descriptor ? dest.descriptor->node : find(dest.path).node)) {
      return -1;
    }
    std::unique_ptr<Descriptor> made;
    if (!dest.descriptor) {
      const NodePtr node = openOrMake(dest.path);
      if (!node) return -1;
      node->content.clear();
      made.reset(new Descriptor{node, false, 0});
    }
    Descriptor& to = made ? *made : *dest.descriptor;
    int copied = 0;
    for (std::string block; !(block = descriptor->read()).empty();) {
      to.write(block);
      copied += static_cast<int>(block.size());
    }
    if (made) dest.descriptor = std::move(made);
    return copied;
  }
  bool isSmall() const { return !descriptor || descriptor->node->content.size() < mostContent; }

 private:
  Place status() {
    Place place = find(path);
    if (!place) throw FileException(path + "not found");
    return place;
  }
  // That of a directory is the file system's own affair.
  static std::size_t size(const Place& place) {
    struct stat status;
    if (!place.node->isDirectory()) return place.node->content.size();
    return stat(place.absolute.c_str(), &status) == 0 ? status.st_size : 0;
  }
  bool can(mode_t bits) {
    const Place place = find(path);
    return place && place.node->allows(bits);
  }
  bool set(mode_t bits, bool on) {
    Node& node = *status().node;
    node.mode = on ? node.mode | bits : node.mode & ~bits;
    return true;
  }
  void open() {
    if (descriptor) return;
    const Place place = find(path);
    if (!place || place.node->isDirectory() || !place.node->allows(0600)) return;
    descriptor.reset(new Descriptor{place.node, true, 0});
  }

  std::string path;
  std::unique_ptr<Descriptor> descriptor;
};

std::string text(const std::string& value) { return value; }
std::string text(int value) { return std::to_string(value); }

template <class Operation, class AnyFile>
std::string outcome(Operation operation, AnyFile& a, AnyFile& b) {
  try {
    return text(operation(a, b));
  } catch (const FileException& exception) {
    return exception.what();
  }
}

struct Subject {
  explicit Subject(const std::string& path) : file(path), model(path) {}
  File file;
  PlainFile model;
};

template <class Operation>
void both(Subject& a, Subject& b, Operation operation) {
  const std::string expected = outcome(operation, a.model, b.model);
  const std::string got = outcome(operation, a.file, b.file);
  if (got != expected) std::fprintf(stderr, "'%s' and not '%s'\n", got.c_str(), expected.c_str());
  require(got == expected, "an operation returns or throws what it should");
  require(a.file.getPath() == a.model.getPath(), "the path");
}

void play(FuzzedDataProvider& steps, Subject& a, Subject& b, const std::string& name) {
  switch (steps.ConsumeIntegralInRange(0, 16)) {
    case 0:
      return both(a, b, [&](auto& x, auto&) { return x = std::decay_t<decltype(x)>(name), 0; });
    case 1:
      return both(a, b, [](auto& x, auto& y) { return x = y, 0; });
    case 2:
      return both(a, b, [&](auto& x, auto& y) {
        x = std::move(y);
        y = std::decay_t<decltype(y)>(name);
        return 0;
      });
    case 3:
      return both(a, b, [](auto& x, auto&) { return x.exists(); });
    case 4:
      return both(a, b, [](auto& x, auto&) { return x.length(); });
    case 5:
      return both(a, b, [](auto& x, auto&) { return x.isDirectory() - x.isFile(); });
    case 6:
      return both(
          a, b, [](auto& x, auto&) { return x.canRead() + 2 * x.canWrite() + 4 * x.canExecute(); });
    case 7:
      return both(a, b, [](auto& x, auto&) { return x.getAbsolutePath(); });
    case 8:
      return both(a, b, [](auto& x, auto&) { return x.getParent().getPath(); });
    case 9:
      return both(a, b, [](auto& x, auto& y) {
        std::vector<std::decay_t<decltype(x)>> files(1, y);
        x.listFiles(files);
        std::vector<std::string> names;
        for (const auto& file : files) names.push_back(file.getPath());
        std::sort(names.begin() + 1, names.end());
        std::string all;
        for (const std::string& each : names) all += each + "\n";
        return all;
      });
    case 10:
      return both(a, b, [](auto& x, auto&) { return x.mkdir(), 0; });
    case 11:
      return both(a, b, [](auto& x, auto&) { return x.touch(), 0; });
    case 12:
      return both(a, b, [](auto& x, auto&) { return x.deleteThis(), 0; });
    case 13:
      return both(a, b, [](auto& x, auto& y) { return x.renameTo(y), 0; });
    case 14:
      return both(a, b, [](auto& x, auto& y) { return x.compareTo(y); });
    case 15:
      if (!a.model.isSmall()) return;
      return both(a, b, [](auto& x, auto& y) { return x.copyTo(y); });
    default: {
      const bool on = steps.ConsumeBool();
      switch (steps.ConsumeIntegralInRange(0, 5)) {
        case 0:
          return both(a, b, [=](auto& x, auto&) { return x.setReadable(on); });
        case 1:
          return both(a, b, [=](auto& x, auto&) { return x.setWritable(on); });
        case 2:
          return both(a, b, [=](auto& x, auto&) { return x.setExecutable(on); });
        case 3:
          return both(a, b, [=](auto& x, auto&) { return x.setReadableAll(on); });
        case 4:
          return both(a, b, [=](auto& x, auto&) { return x.setWritableAll(on); });
        default:
          return both(a, b, [=](auto& x, auto&) { return x.setExecutableAll(on); });
      }
    }
  }
}

// Writes a file without the library, if it may.
void fill(const std::string& path, const std::string& content) {
  const NodePtr node = openOrMake(path);
  if (!node) return;
  node->content = content;
  std::ofstream(path, std::ios::binary) << content;
}

// Compares what lies in the folder at `path` with the model, and removes it.
void takeDown(const std::string& path, const Node& expected) {
  DIR* const stream = opendir(path.c_str());
  require(stream != nullptr, "a directory stays one");
  std::size_t entries = 0;
  while (const struct dirent* entry = readdir(stream)) {
    const std::string name = entry->d_name, at = path + "/" + name;
    if (name == "." || name == "..") continue;
    ++entries;
    const auto found = expected.entries.find(name);
    require(found != expected.entries.end(), "nothing else is made, and what is removed is gone");
    const Node& node = *found->second;
    struct stat status;
    require(lstat(at.c_str(), &status) == 0 && status.st_mode == node.mode, "types and modes");
    if (S_ISREG(node.mode)) {
      chmod(at.c_str(), 0400);
      std::ifstream in(at, std::ios::binary);
      const std::string content((std::istreambuf_iterator<char>(in)), {});
      require(content == node.content, "the content of a file");
      chmod(at.c_str(), node.mode & 07777);  // it may have another name
    }
    if (!node.isDirectory()) {
      unlink(at.c_str());
      continue;
    }
    chmod(at.c_str(), 0700);
    takeDown(at, node);
    rmdir(at.c_str());
  }
  closedir(stream);
  require(entries == expected.entries.size(), "nothing else goes away");
}

int lowestDescriptor() {
  const int lowest = dup(0);
  close(lowest);
  return lowest;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider steps(data, size);
  const int lowest = lowestDescriptor();
  const std::string top = std::string(scratch.path) + "/";
  const std::string names[] = {top + "a",     top + "b",       top + "hard",      top + "link",
                               top + "dir",   top + "dir/a",   top + "dir/sub",   top + "link/a",
                               top + "other", top + "other/b", top + "dir/sub/c", ""};
  root = std::make_shared<Node>(Node{S_IFDIR | 0700, "", {}});
  fill(names[0], std::string(1500, 'a'));
  require(link(names[0].c_str(), names[2].c_str()) == 0, "a hard link can be made");
  root->entries["hard"] = root->entries["a"];
  require(symlink("a", names[3].c_str()) == 0, "a link can be made");
  root->entries["link"] = std::make_shared<Node>(Node{S_IFLNK | 0777, "a", {}});
  require(mkdir(names[4].c_str(), 0755) == 0, "a directory can be made");
  root->entries["dir"] = std::make_shared<Node>(Node{S_IFDIR | 0755, "", {}});

  {
    std::vector<Subject> subjects;
    for (const std::string& name : {names[0], names[1], names[4]}) subjects.emplace_back(name);
    for (int left = mostSteps; left > 0 && steps.remaining_bytes() > 0; --left) {
      Subject& a = subjects[steps.ConsumeIntegralInRange(0, 2)];
      Subject& b = subjects[steps.ConsumeIntegralInRange(0, 2)];
      const std::string& name = steps.PickValueInArray(names);
      if (steps.ConsumeIntegralInRange(0, 7) > 0) {
        play(steps, a, b, name);
      } else {
        constexpr int sizes[] = {0, 1, 1023, 1024, 1025, 2048, 3000};
        std::string content(steps.PickValueInArray(sizes), 'x');
        if (!content.empty()) content.back() = steps.ConsumeIntegral<char>();
        fill(name, content);
      }
    }
  }
  require(lowestDescriptor() == lowest, "no descriptor is left open");
  takeDown(scratch.path, *root);
  return 0;
}
