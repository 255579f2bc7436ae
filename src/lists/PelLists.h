// PelLists: list nodes, singly and doubly linked lists with a cursor, the
// linked queues, stacks and priority queues built on them, and the
// array-backed lists, queues and stacks (TFreeList, TQQueue, TQStack,
// TQStringQueue, TQStringStack; their code is in PelListsArrays.cpp).
//
// A list owns its nodes: it makes them through the virtual NewNode and frees
// them when they are deleted, replaced or cleared. It never owns the objects
// the nodes carry (Item): those stay the caller's.
//
// Every list keeps a cursor (FCurrent and its index FIndex) so that forward
// walks with Reset/GetNext and ascending indexed access cost one step per
// call. Any structural change makes the index unknown (-1), so the next
// indexed access walks from the head again. OnChange fires after each change
// unless a BeginUpdate/EndUpdate bracket is open; the outermost EndUpdate
// fires once.
//
// A node handed to AddNode or Insert is the list's from then on, also when
// the call raises: a change handler may raise after the node is linked, and
// a descendant's AddNode may link it and drop another. So Add, Push and the
// copying operations never free a node they have handed over.
//
// Nodes (of every class) take their memory from the library's cells (see
// foundation/Cells.h): a queue of a million nodes frees them without the
// allocator merging its free blocks.
//
// OnChange is published as an event: it streams as the name of its handler
// method. A handler bound with SetOnChange(Handler) alone has no name and so
// is not written; SetOnChange(Handler, Name) gives it one. Reading the
// property records the name only (there is no method to look it up in):
// the program binds the handler itself.
#pragma once

#include <cstdint>
#include <unordered_set>
#include <vector>

#include "foundation/Cells.h"
#include "foundation/Structures.h"
#include "lists/PelListsRuns.h"
#include "platform/Classes.h"
#include "platform/TypInfo.h"

namespace pel {

// Messages of this unit. SAssignError is spelled differently from the
// framework's message of the same name, so all of them live in this unit's
// namespace; the ones without a clash are also visible in pel.
namespace pellists {
constexpr const char* SInvalidIndex = "Invalid Index";
constexpr const char* SListEmpty = "List is empty";
constexpr const char* SUnknownNode = "Cannot find node within list";
constexpr const char* SEndOfList = "End of list";
constexpr const char* SAssignError = "Error assigning %s to %s";
constexpr const char* SNotSortable = "Cannot sort stack or queue";
}  // namespace pellists
using pellists::SEndOfList;
using pellists::SInvalidIndex;
using pellists::SListEmpty;
using pellists::SNotSortable;
using pellists::SUnknownNode;

// ---------------------------------------------------------------------------
// Nodes. Assign copies the carried data, never the links.
//
// The links (Next, Previous) are published but not stored: a node reached
// through a link is the list's, and writing it as a sub-object would walk
// the whole list (and, doubly linked, forever).

class TSQNode : public TPersistent {
  PEL_CLASS(TSQNode, TPersistent)
  PEL_PUBLISHED(TSQNode, Property<&TSQNode::GetItem, &TSQNode::SetItem>("Item"),
                Property<&TSQNode::GetNext, &TSQNode::SetNext>("Next").NotStored())
 public:
  PEL_CELL_ALLOCATED
  // Copies Item from another TSQNode; anything else goes to TPersistent.
  void Assign(TPersistent* Source) override;

  TObject* GetItem() const { return FItem; }
  void SetItem(TObject* Value) { FItem = Value; }
  TSQNode* GetNext() const { return FNext; }
  void SetNext(TSQNode* Value) { FNext = Value; }

 protected:
  TObject* FItem = nullptr;
  TSQNode* FNext = nullptr;
};

using TSQNodeClass = TClassOf<TSQNode>;

// A node that also links back. Next reads as a TSQDoubleNode.
class TSQDoubleNode : public TSQNode {
  PEL_CLASS(TSQDoubleNode, TSQNode)
  PEL_PUBLISHED(
      TSQDoubleNode, Property<&TSQDoubleNode::GetNext, &TSQDoubleNode::SetNext>("Next").NotStored(),
      Property<&TSQDoubleNode::GetPrevious, &TSQDoubleNode::SetPrevious>("Previous").NotStored())
 public:
  // Raises EInvalidCast when the following node is not a TSQDoubleNode.
  TSQDoubleNode* GetNext() const { return As<TSQDoubleNode>(FNext); }
  void SetNext(TSQDoubleNode* Value) { FNext = Value; }
  TSQDoubleNode* GetPrevious() const { return FPrevious; }
  void SetPrevious(TSQDoubleNode* Value) { FPrevious = Value; }

 protected:
  TSQDoubleNode* FPrevious = nullptr;
};

// A node carrying a string besides its item.
class TSQStringNode : public TSQNode {
  PEL_CLASS(TSQStringNode, TSQNode)
  PEL_PUBLISHED(TSQStringNode,
                Property<&TSQStringNode::GetValue, &TSQStringNode::SetValue>("Value"))
 public:
  // Copies Value from another string node, then Item as TSQNode does.
  void Assign(TPersistent* Source) override;

  const String& GetValue() const { return FValue; }
  void SetValue(const String& Value) { FValue = Value; }

 protected:
  String FValue;
};

namespace detail {
// Counts the priority changes of nodes linked in a TPelPriorityQueue; a
// queue whose order index saw another count checks its order again.
uint64_t PriorityChanges();
void CountPriorityChange();
}  // namespace detail

// A node with a priority; the smaller value is served first. Made through
// TSQPriorityNodeClass with the priority as the constructor argument.
// Assign copies what TSQNode copies, not the priority.
class TSQPriorityNode : public TSQNode {
  PEL_CLASS(TSQPriorityNode, TSQNode)
  friend class TPelPriorityQueue;

 public:
  using TCreateArgs = TCtorArgs<int32_t>;
  explicit TSQPriorityNode(int32_t APriority) : FPriority(APriority) {}

  int32_t GetPriority() const { return FPriority; }
  // On a node a priority queue has linked, a new value is counted (see
  // TPelPriorityQueue), as it may break the queue's order.
  void SetPriority(int32_t Value) {
    if (FLinked && Value != FPriority) detail::CountPriorityChange();
    FPriority = Value;
  }

 protected:
  int32_t FPriority;

 private:
  bool FLinked = false;  // a TPelPriorityQueue has linked it
};

using TSQPriorityNodeClass = TClassOf<TSQPriorityNode, int32_t>;

// A string node with a priority; Assign copies what TSQStringNode copies.
class TSQPriorityStringNode : public TSQStringNode {
  PEL_CLASS(TSQPriorityStringNode, TSQStringNode)
 public:
  using TCreateArgs = TCtorArgs<int32_t>;
  explicit TSQPriorityStringNode(int32_t APriority) : FPriority(APriority) {}

  int32_t GetPriority() const { return FPriority; }
  void SetPriority(int32_t Value) { FPriority = Value; }

 protected:
  int32_t FPriority;
};

using TSQPriorityStringNodeClass = TClassOf<TSQPriorityStringNode, int32_t>;

// ---------------------------------------------------------------------------
// Linked lists

// The machinery of every linked list: nodes, cursor, notification. All
// failures raise EListError with the messages above and change nothing.
class TPelCustomLinkedList : public TPersistent {
  PEL_CLASS(TPelCustomLinkedList, TPersistent)
 public:
  TPelCustomLinkedList() = default;
  ~TPelCustomLinkedList() override;
  // Drops OnChange and runs the (possibly overridden) Clear.
  void BeforeDestruction() override;

  // From another linked list: clear, then a copy of each of its nodes added
  // through AddNode. Anything else goes to TPersistent.
  void Assign(TPersistent* Source) override;
  // From a platform list: clear, then Add of each of its pointers in order.
  void Assign(TList* Source);

  // The node at Index (0-based); moves the cursor there.
  virtual TSQNode* GetNode(int32_t Index);
  // Replaces the node at Index by Node and frees the old one. The tail and
  // the cursor are deliberately left alone: replacing the last node leaves
  // the tail (and a cursor on it) referring to the freed node, so add
  // nothing at the end afterwards.
  virtual void SetNode(int32_t Index, TSQNode* Node);
  // Appends a copy of each node of List (through NewNode, Assign, AddNode).
  virtual void AddLinkedList(TPelCustomLinkedList* List);
  virtual void BeginUpdate();
  // Frees every node (never the items) and notifies, also when empty.
  virtual void Clear();
  virtual void EndUpdate();
  // Where a new node goes: appended here; queues and stacks redefine it.
  virtual TSQNode* AddNode(TSQNode* Node);
  // Unlinks and frees Node (not its item) and resets the cursor.
  virtual void Delete(TSQNode* Node);
  // The node before Node (nothing for the head).
  virtual TSQNode* Find(TSQNode* Node);
  // Links Node before Before, or appends it when Before is nothing.
  virtual TSQNode* Insert(TSQNode* Node, TSQNode* Before);
  // The factory of this list's nodes.
  virtual TSQNode* NewNode();

  // A new node carrying Item, placed by AddNode.
  TSQNode* Add(TObject* Item);
  TObject* GetItem(int32_t Index);
  // Stores Item in the node at Index without notification.
  void SetItem(int32_t Index, TObject* Item);
  bool IsEmpty() const { return FCount == 0; }
  int32_t GetCount() const { return FCount; }

  // The cursor walk: Reset, then GetNext until GetEndOfList.
  void Reset();
  bool GetEndOfList() const { return Current() == nullptr; }
  TSQNode* GetNext();
  // The first node carrying Item, or nothing.
  TSQNode* FindItem(TObject* Item);
  // The 0-based index of the first node carrying Item, or -1; the cursor
  // stays where the search stopped.
  int32_t IndexOfItem(TObject* Item);

  const TNotifyEvent& GetOnChange() const { return FOnChange; }
  // Binds the handler; MethodName is what the OnChange property streams.
  void SetOnChange(TNotifyEvent Value, String MethodName = String()) {
    FOnChange = std::move(Value);
    FOnChangeName = std::move(MethodName);
  }
  // The published OnChange: the handler's method name (empty when unnamed).
  String GetOnChangeName() const { return FOnChangeName; }
  void SetOnChangeName(const String& Value) { FOnChangeName = Value; }

 protected:
  // Forgets the cursor index and tells OnChange, unless updates are open.
  virtual void Change();

  TSQNode* GetHead() const { return FHead; }
  TSQNode* GetTail() const { return FTail; }
  // List's head; EAccessViolation for no list.
  static TSQNode* HeadOf(const TPelCustomLinkedList* List);

  // Raises EListError with Msg.
  [[noreturn]] static void Error(const char* Msg);
  // A new node (NewNode) assigned from Source, as a TNode (EInvalidCast
  // otherwise). It is freed again when that fails, before the list has it.
  template <class TNode>
  TNode* CopyNode(TSQNode* Source);

  // The priority queues' shared steps, for their node type TNode (which has
  // GetPriority/SetPriority): copies of List's nodes keeping priorities of
  // the same node type; a new node carrying Item with Priority, placed by
  // AddNode; and the replacement of Old by a copy with a new priority.
  template <class TNode>
  void AddPriorityCopies(TPelCustomLinkedList* List);
  template <class TNode>
  TNode* PushPriority(TObject* Item, int32_t Priority);
  template <class TNode>
  TNode* ReplacePriority(TNode* Old, int32_t Priority);

  // The cursor's node. SetCurrentAfter(Node) puts the cursor on the node
  // after Node without reading Node yet: the priority queue's indexed insert
  // leaves the cursor there, and reading a node that lies anywhere in memory
  // for a cursor nobody may look at was a good part of its cost. Node's link
  // is read when the cursor is first wanted; until then only the list's own
  // operations change links, and each of them reads or resets the cursor
  // first.
  TSQNode* Current() const {
    if (FCurrentAfter) {
      FCurrent = FCurrent->GetNext();
      FCurrentAfter = false;
    }
    return FCurrent;
  }
  void SetCurrent(TSQNode* Node) {
    FCurrent = Node;
    FCurrentAfter = false;
  }
  void SetCurrentAfter(TSQNode* Node) {
    FCurrent = Node;
    FCurrentAfter = true;
  }

  int32_t FIndex = -1;
  int32_t FCount = 0;
  TSQNode* FHead = nullptr;
  TSQNode* FTail = nullptr;
  TNotifyEvent FOnChange;
  int32_t FUpdateCount = 0;

 private:
  String FOnChangeName;
  mutable TSQNode* FCurrent = nullptr;
  mutable bool FCurrentAfter = false;
  void FreeNodes();
};

// The general singly linked list; publishes Head and Tail (read-only, so
// never written) and OnChange (by method name, see above).
class TPelLinkedList : public TPelCustomLinkedList {
  PEL_CLASS(TPelLinkedList, TPelCustomLinkedList)
  PEL_PUBLISHED(TPelLinkedList, Property<&TPelLinkedList::GetHead>("Head"),
                Property<&TPelLinkedList::GetTail>("Tail"),
                Property<&TPelLinkedList::GetOnChangeName, &TPelLinkedList::SetOnChangeName>(
                    "OnChange", &TypeInfoNotifyEvent))
 public:
  using TPelCustomLinkedList::GetHead;
  using TPelCustomLinkedList::GetTail;
};

// A doubly linked list of TSQDoubleNode nodes; indexed access to the back
// half walks from the tail. Head and Tail are published again typed as
// TSQDoubleNode and writable, but not stored: the setters only store a
// reference, which means nothing in another list.
class TPelDoublyLinkedList : public TPelLinkedList {
  PEL_CLASS(TPelDoublyLinkedList, TPelLinkedList)
  PEL_PUBLISHED(
      TPelDoublyLinkedList,
      Property<&TPelDoublyLinkedList::GetHead, &TPelDoublyLinkedList::SetHead>("Head").NotStored(),
      Property<&TPelDoublyLinkedList::GetTail, &TPelDoublyLinkedList::SetTail>("Tail").NotStored())
 public:
  TSQNode* GetNode(int32_t Index) override;
  // Node takes over the old node's links and the old node is freed, but
  // deliberately no neighbour, head or tail is relinked to Node: the list
  // keeps referring to the freed node until the caller repairs it (SetHead,
  // SetTail, SetNext, SetPrevious). Node stays the caller's.
  void SetNode(int32_t Index, TSQNode* Node) override;
  void Delete(TSQNode* Node) override;
  // Node must be a TSQDoubleNode (EInvalidCast otherwise).
  TSQNode* Insert(TSQNode* Node, TSQNode* Before) override;
  TSQNode* NewNode() override;

  TSQDoubleNode* GetHead() const { return As<TSQDoubleNode>(FHead); }
  TSQDoubleNode* GetTail() const { return As<TSQDoubleNode>(FTail); }
  // These store the reference only: no relinking, count or notification.
  void SetHead(TSQDoubleNode* Value) { FHead = Value; }
  void SetTail(TSQDoubleNode* Value) { FTail = Value; }
};

// ---------------------------------------------------------------------------
// Queues and stacks. All take from the head; they differ in where AddNode
// and Insert put a node.

// A first-in first-out queue of objects; publishes OnChange (by method
// name, see above).
class TPelQueue : public TPelCustomLinkedList {
  PEL_CLASS(TPelQueue, TPelCustomLinkedList)
  PEL_PUBLISHED(TPelQueue, Property<&TPelQueue::GetOnChangeName, &TPelQueue::SetOnChangeName>(
                               "OnChange", &TypeInfoNotifyEvent))
 public:
  // Takes the head's item and deletes the head node (not the item).
  virtual TObject* Pop();
  // A new node appended through AddNode; its Item is set after the change
  // notification has run.
  virtual TSQNode* Push(TObject* Item);

  // The head's item; EListError when empty.
  TObject* GetTop();
};

// A last-in first-out stack of objects: a new node becomes the head.
class TPelStack : public TPelQueue {
  PEL_CLASS(TPelStack, TPelQueue)
 public:
  using TPelCustomLinkedList::Assign;
  // From another TPelStack: the top stays on top. From any other linked
  // list the nodes go through AddNode, which reverses their order.
  void Assign(TPersistent* Source) override;
  TSQNode* AddNode(TSQNode* Node) override;
  // Copies List's nodes in their order in front of this stack's head.
  virtual void AddStack(TPelCustomLinkedList* List);
};

// A queue of strings, each of which may carry an object.
//
// It persists itself (and so do its descendants) as a defined property
// "Strings": a list of the values from the head. Items and priorities are
// not written. Reading appends every value in the order read, also into a
// stack, so a stack read back has its old top on top again.
class TPelStringQueue : public TPelQueue {
  PEL_CLASS(TPelStringQueue, TPelQueue)
 public:
  // Defines "Strings", always stored.
  void DefineProperties(TFiler* Filer) override;
  // Into a platform TStrings: cleared, then each value with its item from
  // the head. Anything else goes to TPersistent.
  void AssignTo(TPersistent* Dest) override;
  // Node must be a TSQStringNode (EInvalidCast otherwise).
  TSQNode* Insert(TSQNode* Node, TSQNode* Before) override;
  TSQNode* NewNode() override;
  virtual String PopString();

  String GetTopString();
  TSQStringNode* PushString(const String& S);
  TSQStringNode* PushItem(const String& S, TObject* Item);
  // Pops the head: its string is returned, its item stored in Item.
  String PopItem(TObject*& Item);
  // The first node whose value equals S ignoring ASCII case, or nothing.
  TSQStringNode* FindString(const String& S);
  // 1-based on purpose (the head gives 1), unlike IndexOfItem; -1 if absent.
  int32_t IndexOfString(const String& S);
  String GetStrings(int32_t Index);
  // Replaces the value without notification.
  void SetStrings(int32_t Index, const String& S);
  TSQStringNode* GetStringNode(int32_t Index);
  void SetStringNode(int32_t Index, TSQStringNode* Node);
  TSQStringNode* GetNext();
  // Same count and the same strings, case-sensitively; items are ignored.
  bool Equals(TPelStringQueue* Other);
  // Clears the queue and appends one node per string of a list value.
  // Malformed input raises EReadError; the nodes read so far stay.
  void ReadData(TReader* Reader);
  // Writes the values from the head as a list of strings.
  void WriteData(TWriter* Writer);
};

// A last-in first-out stack of strings.
class TPelStringStack : public TPelStringQueue {
  PEL_CLASS(TPelStringStack, TPelStringQueue)
 public:
  using TPelCustomLinkedList::Assign;
  // From another TPelStringStack the top stays on top; otherwise as the
  // linked list, which reverses the order.
  void Assign(TPersistent* Source) override;
  TSQNode* AddNode(TSQNode* Node) override;
  virtual void AddStack(TPelCustomLinkedList* List);
};

// A string queue whose nodes carry priorities, kept with an insertion that
// deliberately links nothing: Insert only points the new node's Next at
// the place the node would go, leaving head, tail, Count and notification
// alone. So PushP, PushItemP, PushString and Push return a node that is not
// in the queue, and copies (AddLinkedList) and nodes read (ReadData) go
// nowhere. The queue stays empty, so ChangePriority, which still deletes the
// old node after inserting the copy, always raises "List is empty".
//
// Such nodes still belong to the queue, as every node given to Insert
// does: it keeps them aside and frees them when it is destroyed. Callers
// may use a returned node until then and never free it.
class TPelPriorityStringQueue : public TPelStringQueue {
  PEL_CLASS(TPelPriorityStringQueue, TPelStringQueue)
 public:
  ~TPelPriorityStringQueue() override;
  // Copies of List's nodes (with their priority when they have one) go
  // through AddNode, which links none of them.
  void AddLinkedList(TPelCustomLinkedList* List) override;
  TSQNode* Insert(TSQNode* Node, TSQNode* Before) override;
  TSQNode* NewNode() override;
  virtual TSQPriorityStringNode* ChangePriority(TSQPriorityStringNode* Node, int32_t Priority);
  virtual TSQPriorityStringNode* PushP(TObject* Item, int32_t Priority);
  // Sets Item and Priority; S is deliberately not stored.
  virtual TSQPriorityStringNode* PushItemP(const String& S, TObject* Item, int32_t Priority);

  int32_t GetPriority(int32_t Index);
  TSQPriorityStringNode* GetPriorityNode(int32_t Index);
  void SetPriorityNode(int32_t Index, TSQPriorityStringNode* Node);
  TSQPriorityStringNode* GetNext();

 private:
  std::unordered_set<TSQNode*> FUnlinked;  // nodes Insert took but left outside
};

// A queue of objects served in ascending priority. Among equal priorities a
// newcomer goes before the equal ones at the head and in the middle, but
// behind an equal tail; that order is intended.
//
// Where a new node goes is defined by a walk from the head to the first node
// whose priority is at least the new one. While the list is in ascending
// order, which every operation of the queue keeps, an order index finds that
// node instead in O(log n): one entry per distinct priority, holding the
// first and last node of the run of that priority. Popping, and deleting the
// head, cost constant time.
//
// A caller can still break the order: set a linked node's priority, or put
// nodes in through the base list's operations (the linked list's own Insert,
// SetNode, ...). The index learns of it thus:
// - every structural change ends in Change; the queue's own operations say
//   beforehand that a change is theirs, so any other change makes the order
//   unknown;
// - a linked node counts its priority changes in a count shared by all
//   priority queues; a queue that sees the count moved makes its order
//   unknown.
// The next push into a queue whose order is unknown walks all its nodes
// once: when they are in ascending order the index is rebuilt, otherwise the
// queue walks as defined until a deletion or another outside change lets the
// next push look again (so while the order stays broken, a push after a pop
// costs two walks). A priority change on a node of any queue costs every
// queue one such walk. Not seen: nodes relinked by hand (SetNext), and a
// node class of its own that writes FPriority without SetPriority; do
// neither on a priority queue.
//
// The index costs a priority and two node references per distinct priority
// (see PelListsRuns.h).
class TPelPriorityQueue : public TPelQueue {
  PEL_CLASS(TPelPriorityQueue, TPelQueue)
 public:
  // Copies of List's nodes keep their priority when they are TSQPriorityNode.
  void AddLinkedList(TPelCustomLinkedList* List) override;
  // The closing notification is the queue's own.
  void EndUpdate() override;
  // Unlinks and frees Node as the linked list does, keeping the index.
  void Delete(TSQNode* Node) override;
  // Before is ignored: the node goes where its priority puts it.
  TSQNode* Insert(TSQNode* Node, TSQNode* Before) override;
  TSQNode* NewNode() override;
  // Replaces Node by a copy with the new priority (two notifications);
  // returns the copy. Node is freed. The copy is inserted before Node is
  // deleted, on purpose: a Node that is not in the queue raises "Cannot
  // find node within list" with the copy already in (and the queue's).
  virtual TSQPriorityNode* ChangePriority(TSQPriorityNode* Node, int32_t Priority);
  virtual TSQPriorityNode* PushP(TObject* Item, int32_t Priority);

  TSQPriorityNode* ChangePriority(int32_t Index, int32_t Priority);
  int32_t GetPriority(int32_t Index);
  TSQPriorityNode* GetPriorityNode(int32_t Index);
  void SetPriorityNode(int32_t Index, TSQPriorityNode* Node);
  TSQPriorityNode* GetNext();

 protected:
  // An outside change makes the order unknown.
  void Change() override;

 private:
  enum TOrder { orSorted, orUnknown, orBroken };

  // Whether the index may be used; with Check, an unknown order is checked.
  bool Indexed(bool Check);
  void Rebuild();
  // The node before which the walk would link priority P (head < P < tail).
  TSQNode* IndexedPlace(detail::TPriorityRuns::TPlace At, TSQNode*& Prev);
  void IndexInsert(TSQPriorityNode* Node, TSQNode* Prev, TSQNode* Next,
                   detail::TPriorityRuns::TPlace At);
  void IndexDelete(TSQPriorityNode* Node, TSQNode* Prev);
  // Runs Body, whose change notification is the queue's own.
  template <class Body>
  void OwnChange(Body&& body);

  detail::TPriorityRuns FRuns;  // the order index
  TOrder FOrder = orSorted;
  uint64_t FSeenChanges = detail::PriorityChanges();
  bool FOwnChange = false;
};

// ---------------------------------------------------------------------------
// Array lists, queues and stacks

// A growable array of object references that frees what leaves it by
// deletion while FreeItems is set (the default). Growth and messages are the
// platform list's; Notify sees lnAdded, lnDeleted and lnExtracted as TList's
// does, and only lnDeleted under FreeItems frees. FreeItems is published
// (default true).
//
// Kept on purpose: Put frees the old object even when it is the very object
// being stored again, leaving the slot referring to a freed object.
//
// Like TList it deletes at the front in constant time on average.
class TFreeList : public TPersistent {
  PEL_CLASS(TFreeList, TPersistent)
  PEL_PUBLISHED(TFreeList, Property<&TFreeList::GetFreeItems, &TFreeList::SetFreeItems>("FreeItems")
                               .WithDefault(1))
 public:
  TFreeList() = default;
  explicit TFreeList(bool AFreeItems) : FFreeItems(AFreeItems) {}
  // Clear runs here so that a descendant's Notify and Clear are used.
  void BeforeDestruction() override;

  // From another TFreeList: clear (freeing under FreeItems), then add every
  // item; the objects are shared, not copied.
  void Assign(TPersistent* Source) override;
  // The same from a platform list.
  void Assign(TList* Source);

  // The virtual operations in their table order: Get, Grow, Notify, Put, ...
  virtual TObject* Get(int32_t Index);

 protected:
  virtual void Grow();
  virtual void Notify(TObject* Item, TListNotification Action);

 public:
  virtual void Put(int32_t Index, TObject* Item);
  virtual void SetCount(int32_t NewCount);
  virtual int32_t Add(TObject* Item);
  virtual void Clear();
  // Assigns this list into Dest, or into a new list of this list's class.
  virtual TFreeList* Clone(TFreeList* Dest);
  virtual void Delete(int32_t Index);
  // Raises EListError with Msg formatted with Data.
  [[noreturn]] virtual void Error(const char* Msg, int32_t Data);
  // True for a TList or TFreeList with the same references in order.
  virtual bool Equals(TObject* Obj);
  virtual void Insert(int32_t Index, TObject* Item);

  int32_t Remove(TObject* Item);
  TObject* Extract(TObject* Item);
  void Pack();
  TObject* First() { return Get(0); }
  TObject* Last() { return Get(FCount - 1); }
  int32_t IndexOf(TObject* Item) const;
  void Exchange(int32_t Index1, int32_t Index2);
  // Moves an item without freeing it.
  void Move(int32_t CurIndex, int32_t NewIndex);
  void Sort(TListSortCompare Compare);
  TFreeList* Expand();

  int32_t GetCount() const { return FCount; }
  int32_t GetCapacity() const { return FCapacity; }
  void SetCapacity(int32_t NewCapacity);
  bool GetFreeItems() const { return FFreeItems; }
  void SetFreeItems(bool Value) { FFreeItems = Value; }

 private:
  void CheckIndex(int32_t Index);
  void QuickSort(int32_t L, int32_t R, TListSortCompare Compare);

  detail::FrontGapSlots<TObject*> FList;  // FCapacity slots, see ListStorage.h
  int32_t FCount = 0;
  int32_t FCapacity = 0;
  bool FFreeItems = true;
};

// A first-in-first-out queue of untyped pointers on the platform list.
class TQQueue : public TList {
  PEL_CLASS(TQQueue, TList)
 public:
  // From a TList: its items in order. From a linked list: the items of its
  // nodes, and then still EConvertError "Error assigning %s to %s" (intended:
  // the copy stays). Anything else: that error, nothing copied.
  virtual void Assign(TObject* Source);
  void Clear() override;
  // Push and Pop are defined here, so that the compiler can inline them where
  // it knows (or guesses) the queue's class: a plain queue then costs a few
  // loads and stores per item. They stay virtual.
  virtual void* Pop() {
    if (!IsPlain()) return TakeNotified(0);
    if (IsEmpty()) Empty();
    return DeleteUnnotified(0);
  }
  virtual void Push(void* Item) {
    if (IsPlain())
      AddUnnotified(Item);
    else
      Add(Item);
  }
  virtual void* Top();
  bool IsEmpty() const { return GetCount() == 0; }

 protected:
  [[noreturn]] static void Empty();
  // True for an object of exactly TQQueue or TQStack, whose Notify and Top
  // are known: Push and Pop then skip the calls (a queue or stack of a
  // descendant class makes every call, as it may have overridden them).
  bool IsPlain() const;
  // Pop for a descendant: Top, then the list's notified Delete(Index).
  void* TakeNotified(int32_t Index);
};

// A last-in-first-out stack: Top and Pop take the last item.
class TQStack : public TQQueue {
  PEL_CLASS(TQStack, TQQueue)
 public:
  void* Pop() override {
    if (!IsPlain()) return TakeNotified(GetCount() - 1);
    if (IsEmpty()) Empty();
    return DeleteUnnotified(GetCount() - 1);
  }
  void* Top() override;
};

inline bool TQQueue::IsPlain() const {
  return detail::IsExactly<TQQueue>(this) || detail::IsExactly<TQStack>(this);
}

// A first-in-first-out queue of (string, object) pairs on TSFCList, so that
// the list's owner hears of every push and pop. Pairs are always appended;
// Pop and Top take the pair at the top index, which is 0 for a queue.
class TQStringQueue : public TSFCList {
  PEL_CLASS(TQStringQueue, TSFCList)
 public:
  void Push(TObject* AObject) { AddObject("", AObject); }
  void PushString(const String& S) { Add(S); }
  void PushItem(const String& S, TObject* AObject) { AddObject(S, AObject); }
  // Each raises EListError "List is empty" on an empty queue.
  TObject* Pop();
  String PopString();
  String PopItem(TObject*& AObject);
  TObject* Top();
  String TopString();
  String TopItem(TObject*& AObject);
  bool IsEmpty() { return GetCount() == 0; }
  bool IsSorted() const { return GetSorted(); }
  // A queue keeps its order: true raises "Cannot sort stack or queue",
  // false does nothing.
  void SetSorted(bool Value);

 protected:
  void CheckNotEmpty();
  int32_t FTop = 0;
};

// A last-in-first-out stack of pairs: every change moves the top index to
// the last pair.
class TQStringStack : public TQStringQueue {
  PEL_CLASS(TQStringStack, TQStringQueue)
 protected:
  void Changed() override;
};

}  // namespace pel
