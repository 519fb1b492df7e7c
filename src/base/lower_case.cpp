#include "base/lower_case.h"

namespace zunol_monitoring {

std::string lower_case(std::string text) {
  for (char& byte : text) {
    if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
  }
  return text;
}

}  // namespace zunol_monitoring
