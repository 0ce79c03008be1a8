#include "vimo_util/config/CppProperties.h"

#include <cstdlib>

namespace vimo {
namespace util {
namespace config {

namespace {

using Entries = std::map<std::string, std::string>;

// The value of `key` unless it is empty, else null.
const std::string* find(const Entries& entries, const std::string& key) {
  const auto found = entries.find(key);
  return found == entries.end() || found->second.empty() ? nullptr : &found->second;
}

std::int64_t toNumber(const std::string& value, int base) {
  return std::strtoll(value.c_str(), nullptr, base);
}

// The promise that nothing but VIMOException leaves a strict lookup. It stands
// here and not in the header, where later versions of the language refuse it.
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

#pragma GCC diagnostic pop

}  // namespace

CppProperties::CppProperties(bool keepInlineHash)
    : keepInlineHash(keepInlineHash), trimOnRead(true), modified(false) {}

CppProperties::~CppProperties() {}

std::string CppProperties::getProperty(const std::string& key) {
  const auto found = entries.find(key);
  return found == entries.end() ? std::string() : found->second;
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

}  // namespace config
}  // namespace util
}  // namespace vimo
