// SPDX-License-Identifier: MIT
#include <cstdio>
#include <fstream>
#include <iostream>

#include "vimo_util/config/CppProperties.h"

using vimo::util::config::CppProperties;

int main() {
  std::ofstream("service.conf") << "# edited by hand\n"
                                   "port = 8080\n"
                                   "mask = 0xff00  # the upper byte\n"
                                   "trace = on\n"
                                   "name =\n";
  CppProperties config;
  try {
    config.load("service.conf");  // a path: the text form
    std::printf("port %d, mask %d, trace %d\n", static_cast<int>(config.getInt_("port")),
                static_cast<int>(config.getHEX_("mask")), config.isOn("trace"));
    std::printf("retries %d\n", static_cast<int>(config.getInt("retries")));
    config.getProperty_("name");
  } catch (const VIMOException& error) {
    std::printf("code 0x%X\n", error.code);
  }

  config.setProperty("motto", "two\nlines");
  std::ofstream out("service.cache", std::ios::binary);
  config.save(out);
  out.close();
  if (!out) return 1;

  CppProperties again;
  std::ifstream in("service.cache", std::ios::binary);
  again.load(in);  // a stream: the binary form
  std::printf("motto of %zu bytes\n", again.getProperty("motto").size());
  again.setProperty("motto", "one line");
  again.write(std::cout);
}
