// Objects for gdb to show from stop().

#include <deque>
#include <sstream>

#include "vimo_util/config/CommaSeparatedValues.h"
#include "vimo_util/config/CppProperties.h"
#include "vimo_util/file/File.h"
#include "vimo_util/priq/RequestQueue.h"

void stop() {}

int main() {
  std::deque<vimo::util::priq::PriorRequest> requests;
  vimo::util::priq::RequestQueue queue(7, 0);
  for (unsigned int i = 0; i != 150; ++i) {
    requests.emplace_back(0, i * 49 % 150);
    queue.push(4, &requests.back());
  }
  vimo::util::config::CppProperties properties;
  properties.setProperty("name", "a \"quoted\" value");
  vimo::util::config::CommaSeparatedValues table;
  std::istringstream text("a,b\n");
  table.load(text);
  vimo::util::File file("/no/such");
  stop();
}
