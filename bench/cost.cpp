// SPDX-License-Identifier: MIT
// Prints what one contestant keeps on the heap, in bytes: for an idle queue, and for each of 10000
// waiting requests, keys and cells. CONTESTANT names it; NaN stands for "has none".

#include <malloc.h>

#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>

#define VIMO_UTIL 1
#define GLIB 2
#define POCO 3
#define BOOST 4
#define QT 5

#if CONTESTANT == VIMO_UTIL
#include "vimo_util/config/CommaSeparatedValues.h"
#include "vimo_util/config/CppProperties.h"
#include "vimo_util/priq/PrioritizedQueue.h"
#elif CONTESTANT == GLIB
#include <glib.h>
#elif CONTESTANT == POCO
#include <Poco/Notification.h>
#include <Poco/PriorityNotificationQueue.h>
#include <Poco/StringTokenizer.h>
#include <Poco/Util/MapConfiguration.h>
#elif CONTESTANT == BOOST
#define BOOST_THREAD_VERSION 4
#include <boost/algorithm/string.hpp>
#include <boost/property_tree/ptree.hpp>
#include <boost/thread/concurrent_queues/sync_priority_queue.hpp>
#elif CONTESTANT == QT
#include <QSettings>
#include <QStringList>
#endif

namespace {

constexpr int count = 10000;

// The bytes on the heap for each of `n` things, of which a call of `make` leaves `step` behind.
template <class Make>
double bytes(int n, int step, Make make) {
  const auto held = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
  const std::size_t before = held();
  for (int i = 0; i < n; i += step) make(i);
  return static_cast<double>(held() - before) / n;
}

std::string key(int i) { return "key" + std::to_string(count + i); }
const std::string row = "cell1,cell2,cell3,cell4,cell5,cell6,cell7,cell8,cell9,cell0";

}  // namespace

int main() {
  double idle = NAN, request = NAN, keys = NAN, cells = NAN;
#if CONTESTANT == VIMO_UTIL
  using namespace vimo::util;
  static priq::PriorRequest waiting(0, 5);
  priq::PrioritizedQueue* queue;
  idle = bytes(1, 1, [&](int) { queue = new priq::PrioritizedQueue(0); });
  request = bytes(count, 1, [&](int) { queue->push(&waiting); });
  auto& properties = *new config::CppProperties;
  keys = bytes(count, 1, [&](int i) { properties.setProperty(key(i), "value"); });
  auto& table = *new config::CommaSeparatedValues;
  std::string text;
  for (int i = 0; i < count / 10; ++i) text += row + "\n";
  std::istringstream in(text);
  cells = bytes(count, count, [&](int) { table.load(in); });
#elif CONTESTANT == GLIB
  GAsyncQueue* queue;
  static int waiting;
  const auto compare = [](gconstpointer, gconstpointer, gpointer) { return 0; };
  idle = bytes(1, 1, [&](int) { queue = g_async_queue_new(); });
  request =
      bytes(count, 1, [&](int) { g_async_queue_push_sorted(queue, &waiting, compare, nullptr); });
  GKeyFile* file = g_key_file_new();
  keys = bytes(count, 1,
               [&](int i) { g_key_file_set_string(file, "group", key(i).c_str(), "value"); });
  cells = bytes(count, 10, [&](int) { static_cast<void>(g_strsplit(row.c_str(), ",", -1)); });
#elif CONTESTANT == POCO
  Poco::PriorityNotificationQueue* queue;
  Poco::Notification::Ptr waiting = new Poco::Notification;
  idle = bytes(1, 1, [&](int) { queue = new Poco::PriorityNotificationQueue; });
  request = bytes(count, 1, [&](int) { queue->enqueueNotification(waiting, 5); });
  auto& properties = *new Poco::Util::MapConfiguration;
  keys = bytes(count, 1, [&](int i) { properties.setString(key(i), "value"); });
  cells = bytes(count, 10, [&](int) { new Poco::StringTokenizer(row, ","); });
#elif CONTESTANT == BOOST
  boost::concurrent::sync_priority_queue<std::pair<int, void*> >* queue;
  idle = bytes(1, 1, [&](int) { queue = new std::remove_pointer<decltype(queue)>::type; });
  request = bytes(count, 1, [&](int) { queue->push({5, nullptr}); });
  auto& tree = *new boost::property_tree::ptree;
  keys = bytes(count, 1, [&](int i) { tree.put(key(i), "value"); });
  cells = bytes(count, 10, [&](int) {
    boost::split(*new std::vector<std::string>, row, boost::is_any_of(","));
  });
#elif CONTESTANT == QT
  auto& settings = *new QSettings("/dev/null", QSettings::IniFormat);
  keys =
      bytes(count, 1, [&](int i) { settings.setValue(QString::fromStdString(key(i)), "value"); });
  cells = bytes(count, 10, [&](int) { new QStringList(QString::fromStdString(row).split(',')); });
#endif
  std::printf("%.0f %.0f %.1f %.1f\n", idle, request, keys, cells);
}
