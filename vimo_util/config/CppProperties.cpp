// SPDX-License-Identifier: MIT
#include "vimo_util/config/CppProperties.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <utility>

namespace vimo {
namespace util {
namespace config {

namespace {

using Entries = std::map<std::string, std::string>;
using Length = std::uint32_t;

// The value of `key`, or null if it is missing or empty.
const std::string* find(const Entries& entries, const std::string& key) {
  const auto found = entries.find(key);
  return found == entries.end() || found->second.empty() ? nullptr : &found->second;
}

std::int64_t toNumber(const std::string& value, int base) {
  return std::strtoll(value.c_str(), nullptr, base);
}

// Stores `value` under `key`. On std::bad_alloc nothing changes. The hint makes keys that arrive
// in order cheap.
void store(Entries& entries, std::string&& key, std::string&& value) {
  const auto entry = entries.emplace_hint(entries.end(), std::move(key), std::string());
  entry->second = std::move(value);
}

// The part of `line` from `begin` to `end`; with `trim` without the spaces at either end.
std::string cut(const std::string& line, std::size_t begin, std::size_t end, bool trim) {
  if (trim) {
    while (end > begin && line[end - 1] == ' ') --end;
    while (end > begin && line[begin] == ' ') ++begin;
  }
  return line.substr(begin, end - begin);
}

// These functions promise that only VIMOException leaves the strict lookups and load(). The
// promise is not in the header, because later versions of the language reject it there.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated"

const std::string& require(const Entries& entries, const std::string& key,
                           unsigned int code) throw(VIMOException) {
  const std::string* const value = find(entries, key);
  if (!value) throw VIMOException(code);
  return *value;
}

std::string requireCopy(const Entries& entries, const std::string& key) throw(VIMOException) {
  return require(entries, key, 0x1080);
}

void loadFile(CppProperties& properties, const std::string& path) throw(VIMOException) {
  try {
    std::ifstream file(path, std::ios::in);
    if (file.fail()) throw VIMOException(0x1E0001);
    properties.read(file);
    if (file.bad()) throw VIMOException(0x1E0002);  // a read error, or no memory for a line
  } catch (const VIMOException&) {
    throw;
  } catch (const abi::__forced_unwind&) {  // a cancelled thread, which must go on unwinding
    throw;
  } catch (...) {
    throw VIMOException(0x1E0002);
  }
}

#pragma GCC diagnostic pop

}  // namespace

CppProperties::CppProperties(bool keepInlineHash)
    : keepInlineHash(keepInlineHash), trimOnRead(true), modified(false) {}

CppProperties::~CppProperties() {}

// The lookups.

std::string CppProperties::getProperty(const std::string& key) {
  const std::string* const value = find(entries, key);
  return value ? *value : std::string();
}

bool CppProperties::exist(const std::string& key) { return find(entries, key); }

std::int64_t CppProperties::getInt(const std::string& key) {
  const std::string* const value = find(entries, key);
  return value ? toNumber(*value, 10) : 0;
}

std::int64_t CppProperties::getHEX(const std::string& key) {
  const std::string* const value = find(entries, key);
  return value ? toNumber(*value, 16) : 0;
}

bool CppProperties::isOn(const std::string& key) {
  const std::string* const value = find(entries, key);
  return value && *value == "on";
}

std::string CppProperties::getProperty_(const std::string& key) {
  return requireCopy(entries, key);
}

std::int64_t CppProperties::getInt_(const std::string& key) {
  return toNumber(require(entries, key, 0x1081), 10);
}

std::int64_t CppProperties::getHEX_(const std::string& key) {
  return toNumber(require(entries, key, 0x1082), 16);
}

bool CppProperties::isOn_(const std::string& key) { return require(entries, key, 0x1083) == "on"; }

// The entries and the flag.

void CppProperties::setProperty(const std::string& key, const std::string& value) {
  const auto found = entries.lower_bound(key);
  if (found == entries.end() || found->first != key) {
    entries.emplace_hint(found, key, value);
    if (!value.empty()) modified = true;
  } else if (found->second != value) {
    found->second = value;
    modified = true;
  }
}

void CppProperties::getKeys(std::vector<std::string>& keys) {
  for (const auto& entry : entries) keys.push_back(entry.first);
}

void CppProperties::clear() {
  entries.clear();
  modified = true;
}

bool CppProperties::isModified() { return modified; }

void CppProperties::setModified(const bool& value) { modified = value; }

// The text form.

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

// The binary form.

void CppProperties::put(std::ostream& out, const std::string& value) {
  if (value.size() > std::numeric_limits<Length>::max()) {
    out.setstate(std::ios::failbit);
    return;
  }
  const Length length = value.size();
  out.write(reinterpret_cast<const char*>(&length), sizeof length);
  out.write(value.data(), length);
}

void CppProperties::get(std::istream& in, std::string& value) {
  value.clear();
  Length left = 0;
  in.read(reinterpret_cast<char*>(&left), sizeof left);
  if (in.fail()) return;

  // The length may be wrong: it is neither reserved nor read in one piece. Each read flushes a
  // tied stream, and that flush is due every five bytes.
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
