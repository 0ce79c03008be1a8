// The text form of CppProperties.

#include <cxxabi.h>

#include "vimo_util/config/CppProperties.h"
#include "vimo_util/config/InputFile.h"
#include "vimo_util/config/store.h"

namespace vimo {
namespace util {
namespace config {

namespace {

// The part of `line` from `begin` to `end`, with `trim` without its outer spaces.
std::string cut(const std::string& line, std::size_t begin, std::size_t end, bool trim) {
  if (trim) {
    while (end > begin && line[end - 1] == ' ') --end;
    while (end > begin && line[begin] == ' ') ++begin;
  }
  return std::string(line.data() + begin, end - begin);
}

// Like the strict lookups, load() promises that only VIMOException leaves it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated"

void loadFile(CppProperties& properties, const std::string& path) throw(VIMOException) {
  try {
    InputFile file(path);
    if (file.stream().fail()) throw VIMOException(0x1E0001);
    properties.read(file.stream());
    // What the file's buffer throws, and a lack of memory for a line, end here.
    if (file.stream().bad()) throw VIMOException(0x1E0002);
  } catch (const VIMOException&) {
    throw;
  } catch (const abi::__forced_unwind&) {  // of a cancelled thread, which nothing may stop
    throw;
  } catch (...) {
    throw VIMOException(0x1E0002);
  }
}

#pragma GCC diagnostic pop

}  // namespace

void CppProperties::read(std::istream& in) {
  clear();
  std::string line;
  while (!in.fail() && std::getline(in, line)) {
    const std::size_t hash = line.find('#');
    if (hash == 0 || (hash != std::string::npos && !keepInlineHash)) line.resize(hash);
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) continue;

    store(entries, cut(line, 0, equals, trimOnRead),
          cut(line, equals + 1, line.size(), trimOnRead));
  }
}

void CppProperties::write(std::ostream& out) {
  for (const auto& entry : entries) out << entry.first << "=" << entry.second << std::endl;
}

void CppProperties::load(const std::string& path) { loadFile(*this, path); }

}  // namespace config
}  // namespace util
}  // namespace vimo
