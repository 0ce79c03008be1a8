// The binary form of CppProperties.

#include <algorithm>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>
#include <typeinfo>

#include "vimo_util/config/CppProperties.h"
#include "vimo_util/config/store.h"

namespace vimo {
namespace util {
namespace config {

namespace {

using Length = std::uint32_t;

// The room that a stream buffer has for bytes that sputc() would put there.
class Room : private std::streambuf {
 public:
  static char* begin(std::streambuf& buffer) { return (buffer.*&Room::pptr)(); }
  static char* end(std::streambuf& buffer) { return (buffer.*&Room::epptr)(); }
  static void fill(std::streambuf& buffer, int count) { (buffer.*&Room::pbump)(count); }
};

// Puts a short string straight into the room of `out`, which makes save() faster;
// false, and nothing done, if it does not fit, if a write is to flush, or if a
// buffer of the client's own may want to see the write.
bool putInRoom(std::ostream& out, Length length, const char* bytes) {
  const Length size = sizeof length + length;
  if (length > 1000 || !out.good() || out.tie() || (out.flags() & std::ios::unitbuf)) return false;
  std::streambuf& buffer = *out.rdbuf();
  if (typeid(buffer) != typeid(std::filebuf) && typeid(buffer) != typeid(std::stringbuf)) {
    return false;
  }
  char* const room = Room::begin(buffer);
  if (Room::end(buffer) - room < static_cast<std::ptrdiff_t>(size)) return false;
  std::memcpy(room, &length, sizeof length);
  std::memcpy(room + sizeof length, bytes, length);
  Room::fill(buffer, size);
  return true;
}

}  // namespace

void CppProperties::put(std::ostream& out, const std::string& value) {
  if (value.size() > std::numeric_limits<Length>::max()) {
    out.setstate(std::ios::failbit);
    return;
  }
  const Length length = value.size();
  if (putInRoom(out, length, value.data())) return;
  out.write(reinterpret_cast<const char*>(&length), sizeof length);
  out.write(value.data(), length);
}

void CppProperties::get(std::istream& in, std::string& value) {
  value.clear();
  Length left = 0;
  in.read(reinterpret_cast<char*>(&left), sizeof left);
  if (in.fail()) return;

  // The length may be a lie: it is neither reserved nor read in one piece. Each
  // read flushes a tied stream, which is owed a flush every five bytes.
  char piece[500];
  const Length step = in.tie() ? 5 : sizeof piece;
  do {
    const Length size = std::min(left, step);
    in.read(piece, size);
    value.append(piece, in.gcount());
    left -= size;
  } while (left > 0 && !in.fail());
}

void CppProperties::save(std::ostream& out) {
  for (const auto& entry : entries) {
    put(out, entry.first);
    put(out, entry.second);
  }
}

void CppProperties::load(std::istream& in) {
  clear();
  while (!in.eof()) {
    std::string key, value;
    get(in, key);
    get(in, value);
    if (in.fail()) return;
    store(entries, std::move(key), std::move(value));
  }
}

}  // namespace config
}  // namespace util
}  // namespace vimo
