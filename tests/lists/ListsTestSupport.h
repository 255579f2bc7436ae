// Helpers shared by the linked-list and queue tests: objects and nodes that
// count how many of them are alive, and a change counter.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "lists/PelLists.h"
#include "platform/ExpectRaises.h"

namespace pel::test {

// Objects of Base whose number alive is counted: lists must never free
// items, and must free exactly their nodes (a table exactly its entries).
template <class Base>
class TCounted : public Base {
 public:
  using Base::Base;
  static inline int Alive = 0;

 private:
  struct TTally {
    TTally() { ++Alive; }
    ~TTally() { --Alive; }
  } FTally;
};
using TCountedItem = TCounted<TObject>;
using TCountedNode = TCounted<TSQNode>;
using TCountedDoubleNode = TCounted<TSQDoubleNode>;

// Counts OnChange calls of a list.
struct TChangeCounter {
  int Count = 0;
  TNotifyEvent Handler() {
    return [this](TObject*) { ++Count; };
  }
};

}  // namespace pel::test
