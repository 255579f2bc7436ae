// A program outside the source tree that uses the installed library.
#include <iostream>

#include "Pel.h"

int main() {
  using namespace pel;
  Owned<TPelStringList> list = Make<TPelStringList>();
  list->SetStringOpsType(soCaseSensitive);
  list->SetSorted(true);
  list->Add("pear");
  list->Add("apple");
  std::cout << Format("%s %d", {list->Get(0), list->GetCount()}) << "\n";
  return list->Get(0) == "apple" ? 0 : 1;
}
