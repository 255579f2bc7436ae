// A program outside the source tree that uses the installed library.
#include <iostream>

#include "platform/SysUtils.h"

int main() {
  std::cout << pel::Format("%s %d", {pel::String("pel"), 1}) << "\n";
  return 0;
}
