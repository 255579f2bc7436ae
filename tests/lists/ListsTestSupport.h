// Helpers shared by the linked-list and queue tests: objects and nodes that
// count how many of them are alive, and a change counter.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "lists/PelLists.h"
#include "platform/ExpectRaises.h"

namespace pel::test {

// An item whose destruction is counted: lists must never free items.
class TCountedItem : public TObject {
  PEL_CLASS(TCountedItem, TObject)
 public:
  static inline int Alive = 0;
  TCountedItem() { ++Alive; }
  ~TCountedItem() override { --Alive; }
};

// Nodes whose destruction is counted: lists must free exactly their nodes.
class TCountedNode : public TSQNode {
  PEL_CLASS(TCountedNode, TSQNode)
 public:
  static inline int Alive = 0;
  TCountedNode() { ++Alive; }
  ~TCountedNode() override { --Alive; }
};

class TCountedDoubleNode : public TSQDoubleNode {
  PEL_CLASS(TCountedDoubleNode, TSQDoubleNode)
 public:
  static inline int Alive = 0;
  TCountedDoubleNode() { ++Alive; }
  ~TCountedDoubleNode() override { --Alive; }
};

// Counts OnChange calls of a list.
struct TChangeCounter {
  int Count = 0;
  TNotifyEvent Handler() {
    return [this](TObject*) { ++Count; };
  }
};

}  // namespace pel::test
