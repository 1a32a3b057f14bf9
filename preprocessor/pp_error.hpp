// The one error the preprocessor raises: processing stops and the message is printed once.
#pragma once

#include <string>

namespace marl::pp {

struct PPError {
  std::string message;
  long line = -1;  // presumed line to report; -1 means the line being processed
};

}  // namespace marl::pp
