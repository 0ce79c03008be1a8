// SPDX-License-Identifier: MIT
#include "vimo_util/priq/PriorRequest.h"

namespace vimo {
namespace util {
namespace priq {

PriorRequest::PriorRequest(int clientValue, unsigned int priority)
    : clientValue(clientValue), priority(priority), id(0xdeadbeef) {}

}  // namespace priq
}  // namespace util
}  // namespace vimo
