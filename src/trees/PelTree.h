// PelTree: general trees whose nodes carry one untyped data pointer each.
//
// A binary tree (at most two children per node), an n-ary tree (any number
// of children) and the height-balanced binary search tree keyed by an
// integer priority. A tree owns its root and each node owns its children;
// the data pointers are never freed. Nodes are made by the tree through its
// node class reference, so a descendant tree can supply its own node class.
//
// Traversals call a TTreeIterator once per node. The only early exit is the
// silent abort (pel::Abort) raised from the callback; the searches use it
// themselves and catch it.
//
// Depth: the walks (traversals, searches, finding a parent), freeing a
// subtree and copying one keep their own stacks, so a tree of any depth (a
// chain of a million nodes, say) is handled without running out of the call
// stack, in the order the recursive definitions give. The price: the walk
// no longer calls itself through the virtual table, so a descendant's Infix,
// Assign, AddChildren or Clear is called for the node it was asked about,
// not again for every node below it.
//
// An operation that follows a missing node or owner (a null argument, the
// parent of the root, a tree without a node class) raises EAccessViolation
// at that point, keeping whatever it had already changed.
#pragma once

#include <cstdint>
#include <functional>

#include "foundation/Cells.h"
#include "lists/PelLists.h"
#include "platform/Classes.h"
#include "platform/SysUtils.h"

namespace pel {

class TPelCustomTree;
class TPelBinaryTree;
class TPelTree;
class TPelHeightBalancedTree;
class TPelCustomTreeNode;

PEL_EXCEPTION(ETreeException, Exception)

// Messages of this unit, in its own namespace; SInvalidIndex has the same
// text as the linked lists' one, which is visible in pel already.
namespace peltree {
constexpr const char* SCannotAddChildren = "Cannot add any more children to node";
constexpr const char* SUnknownTreeNode = "Unknown Tree Node";
constexpr const char* SCannotChangeNodeType = "Cannot change node types while any nodes exist";
constexpr const char* SInvalidIndex = "Invalid Index";
constexpr const char* SOwnerMismatch = "Owner of Node does not match Self";
constexpr const char* SDuplicatePriorities = "Duplicate priorities in tree";
}  // namespace peltree
using peltree::SCannotAddChildren;
using peltree::SCannotChangeNodeType;
using peltree::SDuplicatePriorities;
using peltree::SOwnerMismatch;
using peltree::SUnknownTreeNode;

enum TTraversalOrder : uint8_t { toPreOrder, toInOrder, toPostOrder };

// Visitor of a traversal: the node and the caller's tag, passed through
// unchanged. The tag is pointer-sized so that it can carry an object.
using TTreeIterator = std::function<void(TPelCustomTreeNode* ANode, intptr_t ATag)>;

// ---------------------------------------------------------------------------
// Nodes
//
// Published: ChildCount, Owner and Parent (read-only, so never written);
// binary nodes add Left and Right, height-balanced ones BalanceFactor and
// Priority. Owner, Parent, Left and Right read as the node family's own
// classes. The child links are not stored: a reader cannot rebuild a
// subtree from them (it has no nodes to write into), and the structure is
// the tree's to make.

class TPelCustomTreeNode : public TPersistent {
  PEL_CLASS(TPelCustomTreeNode, TPersistent)
  PEL_PUBLISHED(TPelCustomTreeNode, Property<&TPelCustomTreeNode::GetChildCount>("ChildCount"),
                Property<&TPelCustomTreeNode::GetOwner>("Owner"),
                Property<&TPelCustomTreeNode::GetParent>("Parent"))
 public:
  // The node family's virtual constructor takes the owning tree.
  using TCreateArgs = TCtorArgs<TPelCustomTree*>;

  PEL_CELL_ALLOCATED
  explicit TPelCustomTreeNode(TPelCustomTree* AOwner) : FOwner(AOwner) {}
  TPelCustomTreeNode(TPelCustomTree* AOwner, void* AData) : FData(AData), FOwner(AOwner) {}
  // Frees the subtree through the (possibly overridden) Clear.
  void BeforeDestruction() override;

  // Deep copy of a source node's subtree: Clear, AssignFields, AddChildren.
  // Children are re-added in index order through AddChild, so a binary
  // node's lone Right child arrives in Left. Other sources go to TPersistent.
  void Assign(TPersistent* Source) override;

  virtual TPelCustomTreeNode* GetChild(int32_t Index) const = 0;
  virtual void SetChild(int32_t Index, TPelCustomTreeNode* Node) = 0;
  virtual int32_t GetChildCount() const = 0;
  virtual TPelCustomTreeNode* GetParent();
  // Reports a structural change to the owning tree.
  virtual void Change();
  // Copies the node's own fields (Data here) from Source.
  virtual void AssignFields(TPelCustomTreeNode* Source);
  virtual TPelCustomTreeNode* AddChild(TPelCustomTreeNode* Node) = 0;
  // Appends deep copies of Node's children: each copy from NewChild, then
  // Clear and AssignFields on it, then its children, depth first.
  virtual void AddChildren(TPelCustomTreeNode* Node);
  // Frees every child (last first), then Change. A child with children is
  // emptied first (last first) and then freed, at every depth.
  virtual void Clear();
  // Frees Node, which must be a child; otherwise "Unknown Tree Node".
  virtual void DeleteChild(TPelCustomTreeNode* Node) = 0;
  virtual int32_t IndexOf(TPelCustomTreeNode* Node) const;
  virtual TPelCustomTreeNode* InsertChild(int32_t Index) = 0;
  // Puts Node between this node and its parent: Node.AddChild(this) first,
  // then the parent's slot is overwritten with Node. For the root the
  // parent is missing after Node has taken this node as its child.
  virtual TPelCustomTreeNode* InsertParent(TPelCustomTreeNode* Node);
  // A new node from the owner, added as the last child.
  virtual TPelCustomTreeNode* NewChild();

  void* GetData() const { return FData; }
  void SetData(void* Value) { FData = Value; }
  TPelCustomTree* GetOwner() const { return FOwner; }

 protected:
  // The owner, which every structural operation needs (access violation
  // for a node made without one).
  TPelCustomTree* OwnerTree() const { return CheckAssigned(FOwner); }

  void* FData = nullptr;

 private:
  TPelCustomTree* FOwner;
};

using TPelTreeNodeClass = TClassOf<TPelCustomTreeNode, TPelCustomTree*>;

// Binary node: children are counted and indexed over the non-empty slots,
// so a node with only Right reports one child, Right, at index 0.
class TPelBinaryTreeNode : public TPelCustomTreeNode {
  PEL_CLASS(TPelBinaryTreeNode, TPelCustomTreeNode)
  PEL_PUBLISHED(
      TPelBinaryTreeNode,
      Property<&TPelBinaryTreeNode::GetLeft, &TPelBinaryTreeNode::SetLeft>("Left").NotStored(),
      Property<&TPelBinaryTreeNode::GetRight, &TPelBinaryTreeNode::SetRight>("Right").NotStored(),
      Property<&TPelBinaryTreeNode::GetBinaryOwner>("Owner"),
      Property<&TPelBinaryTreeNode::GetBinaryParent>("Parent"))
 public:
  using TPelCustomTreeNode::TPelCustomTreeNode;

  TPelCustomTreeNode* GetChild(int32_t Index) const override;
  // Replaces the child at Index; the previous child is not freed.
  void SetChild(int32_t Index, TPelCustomTreeNode* Node) override;
  int32_t GetChildCount() const override;
  TPelCustomTreeNode* AddChild(TPelCustomTreeNode* Node) override;
  // Null deletes an empty side: nothing is freed, Change still runs.
  void DeleteChild(TPelCustomTreeNode* Node) override;
  // Index 0 makes a new Left (an existing lone Left moves to Right), index 1
  // a new Right. Does not call Change (unlike AddChild): intended.
  TPelCustomTreeNode* InsertChild(int32_t Index) override;

  TPelBinaryTree* GetBinaryOwner() const;
  TPelBinaryTreeNode* GetBinaryParent();
  // Free the current Left (Right) subtree, then put a new node there.
  TPelBinaryTreeNode* AddLeftChild();
  TPelBinaryTreeNode* AddRightChild();
  TPelBinaryTreeNode* GetLeft() const { return FLeft; }
  TPelBinaryTreeNode* GetRight() const { return FRight; }
  // Store and Change when different; the previous child is not freed.
  void SetLeft(TPelBinaryTreeNode* Node);
  void SetRight(TPelBinaryTreeNode* Node);

 private:
  // A node from the owner; one of another class is freed and refused.
  TPelBinaryTreeNode* NewBinaryNode();
  TPelBinaryTreeNode* ReplaceSubtree(TPelBinaryTreeNode*& Slot);

  TPelBinaryTreeNode* FLeft = nullptr;
  TPelBinaryTreeNode* FRight = nullptr;
};

// N-ary node: the children in order in a platform list.
class TPelTreeNode : public TPelCustomTreeNode {
  PEL_CLASS(TPelTreeNode, TPelCustomTreeNode)
  PEL_PUBLISHED(TPelTreeNode, Property<&TPelTreeNode::GetTreeOwner>("Owner"),
                Property<&TPelTreeNode::GetTreeParent>("Parent"))
 public:
  explicit TPelTreeNode(TPelCustomTree* AOwner);
  TPelTreeNode(TPelCustomTree* AOwner, void* AData);
  ~TPelTreeNode() override;

  TPelCustomTreeNode* GetChild(int32_t Index) const override;
  void SetChild(int32_t Index, TPelCustomTreeNode* Node) override;
  int32_t GetChildCount() const override;
  TPelCustomTreeNode* AddChild(TPelCustomTreeNode* Node) override;
  // Nothing once the child list is gone (during destruction).
  void Clear() override;
  void DeleteChild(TPelCustomTreeNode* Node) override;
  // A new node at Index; no Change.
  TPelCustomTreeNode* InsertChild(int32_t Index) override;

  TPelTree* GetTreeOwner() const;
  TPelTreeNode* GetTreeParent();
  TPelTreeNode* GetTreeChild(int32_t Index) const;
  void SetTreeChild(int32_t Index, TPelTreeNode* Node);

 private:
  TList* FChildren;
};

// ---------------------------------------------------------------------------
// Trees

// Trees publish OnChange, OnChanging, Root (not stored: a subtree cannot be
// read back through it) and the height-balanced tree Duplicates.
//
// The events are streamed as the framework streams events, by the handler's
// method name. A handler here is a std::function, which has no name of its
// own: SetOnChange and SetOnChanging take the name to write beside the
// handler, and a handler set without one writes nothing. Reading a stream
// stores the name only (binding it to a handler is the program's business);
// reading nil, or setting the name to "", also drops the handler.
class TPelCustomTree : public TPersistent {
  PEL_CLASS(TPelCustomTree, TPersistent)
  PEL_PUBLISHED(TPelCustomTree,
                Property<&TPelCustomTree::GetOnChangeName, &TPelCustomTree::SetOnChangeName>(
                    "OnChange", &TypeInfoNotifyEvent),
                Property<&TPelCustomTree::GetOnChangingName, &TPelCustomTree::SetOnChangingName>(
                    "OnChanging", &TypeInfoNotifyEvent),
                Property<&TPelCustomTree::GetRoot, &TPelCustomTree::SetRoot>("Root").NotStored())
 public:
  TPelCustomTree() = default;
  // Frees every node through the (possibly overridden) Clear.
  void BeforeDestruction() override;

  // Deep copy of another tree, then the inherited Assign as well.
  void Assign(TPersistent* Source) override;
  // Data pointers in pre-order into a linked list or a platform list
  // (cleared first); other targets go to TPersistent.
  void AssignTo(TPersistent* Dest) override;
  void AssignTo(TList* Dest);

  // The parent of Node, found by a pre-order search (nothing for the root).
  // A missing Node is an access violation.
  virtual TPelCustomTreeNode* GetParentNode(TPelCustomTreeNode* Node);
  // Notify the handlers with the tree as sender (Sender is not passed on:
  // intended) unless an update is in progress.
  virtual void Change(TObject* Sender);
  virtual void Changing(TObject* Sender);
  virtual void Infix(TPelCustomTreeNode* Node, const TTreeIterator& Method, intptr_t Data);
  virtual void BeginUpdate();
  virtual void EndUpdate();
  virtual void Clear();
  // Frees Node and its subtree through its parent; the root has none (an
  // access violation).
  virtual void Delete(TPelCustomTreeNode* Node);
  virtual TPelCustomTreeNode* NewNode();
  virtual void Traverse(TPelCustomTreeNode* Node, const TTreeIterator& Method,
                        TTraversalOrder Order, intptr_t Data);

  // Traversal callback of AssignTo: appends Node's data to the list in Tag.
  void AddItem(TPelCustomTreeNode* Node, intptr_t Tag);
  void MatchChild(TPelCustomTreeNode* Node, intptr_t Tag);
  void MatchItem(TPelCustomTreeNode* Node, intptr_t Tag);
  TPelTreeNodeClass GetNodeType() const { return FNodeType; }
  // Raises while a root exists.
  void SetNodeType(TPelTreeNodeClass Value);
  // The first node (in Order from Node) whose data is Item.
  TPelCustomTreeNode* FindItemNode(TPelCustomTreeNode* Node, void* Item, TTraversalOrder Order);
  // The first node (in Order from Node) that has Child among its children:
  // the parent of Child, not Child itself.
  TPelCustomTreeNode* FindNode(TPelCustomTreeNode* Node, TPelCustomTreeNode* Child,
                               TTraversalOrder Order);
  // A missing Node is an access violation.
  bool IsLeaf(TPelCustomTreeNode* Node) const;
  bool IsRoot(TPelCustomTreeNode* Node) const;
  TPelCustomTreeNode* GetRoot() const { return FRoot; }
  // Frees the old root's subtree and stores Node, inside an update bracket.
  void SetRoot(TPelCustomTreeNode* Node);
  void Prefix(TPelCustomTreeNode* Node, const TTreeIterator& Method, intptr_t Data);
  void Postfix(TPelCustomTreeNode* Node, const TTreeIterator& Method, intptr_t Data);
  // The root and its direct children only, not the whole tree: intended.
  int32_t GetCount() const;

  int32_t GetUpdateCount() const { return FUpdateCount; }
  // Name is the handler's method name, what a stream writes for it.
  const TNotifyEvent& GetOnChange() const { return FOnChange; }
  void SetOnChange(TNotifyEvent Value, String Name = String());
  const TNotifyEvent& GetOnChanging() const { return FOnChanging; }
  void SetOnChanging(TNotifyEvent Value, String Name = String());
  // The events' method names ("" when unnamed or unassigned).
  const String& GetOnChangeName() const { return FOnChangeName; }
  void SetOnChangeName(const String& Value);
  const String& GetOnChangingName() const { return FOnChangingName; }
  void SetOnChangingName(const String& Value);

 protected:
  TPelTreeNodeClass FNodeType;
  TNotifyEvent FOnChange;
  TNotifyEvent FOnChanging;
  String FOnChangeName;
  String FOnChangingName;
  int32_t FUpdateCount = 0;
  TPelCustomTreeNode* FRoot = nullptr;
  // The node found by the current search.
  TPelCustomTreeNode* FFoundNode = nullptr;

 private:
  using TMatch = void (TPelCustomTree::*)(TPelCustomTreeNode*, intptr_t);
  // The node at which Match aborts a traversal from Node, or nothing.
  TPelCustomTreeNode* Search(TPelCustomTreeNode* Node, TMatch Match, intptr_t Tag,
                             TTraversalOrder Order);
  // Appends every node's data, in pre-order, to a list of either kind.
  void AddItems(TObject* Dest);
};

class TPelBinaryTree : public TPelCustomTree {
  PEL_CLASS(TPelBinaryTree, TPelCustomTree)
 public:
  TPelBinaryTree();
  // Left, node, right, reading the slots directly.
  void Infix(TPelCustomTreeNode* Node, const TTreeIterator& Method, intptr_t Data) override;
  TPelBinaryTreeNode* GetRoot() const;
  void SetRoot(TPelBinaryTreeNode* Node) { TPelCustomTree::SetRoot(Node); }
};

class TPelTree : public TPelCustomTree {
  PEL_CLASS(TPelTree, TPelCustomTree)
 public:
  TPelTree();
  TPelTreeNode* GetRoot() const;
  void SetRoot(TPelTreeNode* Node) { TPelCustomTree::SetRoot(Node); }
};

// ---------------------------------------------------------------------------
// Height-balanced tree

// +1: the left subtree is one level taller; -1: the right one; 0: equal.
using TBalanceFactor = int8_t;

enum TPriorityOrder : uint8_t { poDecreasing, poIncreasing };

class TPelHeightBalancedTreeNode : public TPelBinaryTreeNode {
  PEL_CLASS(TPelHeightBalancedTreeNode, TPelBinaryTreeNode)
  PEL_PUBLISHED(
      TPelHeightBalancedTreeNode,
      Property<&TPelHeightBalancedTreeNode::GetBalanceFactor,
               &TPelHeightBalancedTreeNode::SetBalanceFactor>("BalanceFactor"),
      Property<&TPelHeightBalancedTreeNode::GetPriority, &TPelHeightBalancedTreeNode::SetPriority>(
          "Priority"),
      Property<&TPelHeightBalancedTreeNode::GetHBLeft, &TPelHeightBalancedTreeNode::SetHBLeft>(
          "Left")
          .NotStored(),
      Property<&TPelHeightBalancedTreeNode::GetHBRight, &TPelHeightBalancedTreeNode::SetHBRight>(
          "Right")
          .NotStored(),
      Property<&TPelHeightBalancedTreeNode::GetHBOwner>("Owner"),
      Property<&TPelHeightBalancedTreeNode::GetHBParent>("Parent"))
 public:
  explicit TPelHeightBalancedTreeNode(TPelCustomTree* AOwner) : TPelBinaryTreeNode(AOwner) {}
  TPelHeightBalancedTreeNode(TPelCustomTree* AOwner, int32_t APriority)
      : TPelBinaryTreeNode(AOwner), FPriority(APriority) {}

  // Priority and balance factor from a height-balanced source, then Data.
  void AssignFields(TPelCustomTreeNode* Source) override;

  TPelHeightBalancedTreeNode* GetHBLeft() const;
  TPelHeightBalancedTreeNode* GetHBRight() const;
  void SetHBLeft(TPelHeightBalancedTreeNode* Node) { SetLeft(Node); }
  void SetHBRight(TPelHeightBalancedTreeNode* Node) { SetRight(Node); }
  TPelHeightBalancedTree* GetHBOwner() const;
  TPelBinaryTreeNode* GetHBParent() { return GetBinaryParent(); }

  TBalanceFactor GetBalanceFactor() const { return FBalanceFactor; }
  void SetBalanceFactor(TBalanceFactor Value) { FBalanceFactor = Value; }
  int32_t GetPriority() const { return FPriority; }
  void SetPriority(int32_t Value) { FPriority = Value; }

 private:
  TBalanceFactor FBalanceFactor = 0;
  int32_t FPriority = 0;
};

// A binary search tree on the nodes' priorities (smaller to the left), kept
// balanced by height with single and double rotations on insertion.
class TPelHeightBalancedTree : public TPelBinaryTree {
  PEL_CLASS(TPelHeightBalancedTree, TPelBinaryTree)
  PEL_PUBLISHED(TPelHeightBalancedTree,
                Property<&TPelHeightBalancedTree::GetDuplicates,
                         &TPelHeightBalancedTree::SetDuplicates>("Duplicates", &TDuplicatesInfo),
                Property<&TPelHeightBalancedTree::GetRoot, &TPelHeightBalancedTree::SetRoot>("Root")
                    .NotStored())
 public:
  TPelHeightBalancedTree();

  using TPelBinaryTree::Delete;
  using TPelBinaryTree::FindNode;
  using TPelBinaryTree::NewNode;

  // Restores the balance below Critical after NewNode was linked; returns
  // the root of the rebalanced subtree. Child is not used. A missing
  // Critical, or a missing node on the way, is an access violation.
  virtual TPelHeightBalancedTreeNode* Rebalance(TPelHeightBalancedTreeNode* NewNode,
                                                TPelHeightBalancedTreeNode* Child,
                                                TPelHeightBalancedTreeNode* Critical,
                                                TPelHeightBalancedTreeNode* CriticalParent,
                                                int32_t Priority);
  virtual TPelHeightBalancedTreeNode* NewNode(int32_t Priority);
  // Inserts Data under Priority; returns the node holding the priority (new,
  // or the existing one under dupIgnore/dupAccept).
  virtual TPelHeightBalancedTreeNode* Add(void* Data, int32_t Priority,
                                          TPelHeightBalancedTreeNode* StartNode);
  virtual void Delete(void* Data, int32_t Priority);

  TPelHeightBalancedTreeNode* Add(void* Data, int32_t Priority);
  // Looks the pair up and leaves the tree unchanged: this tree offers no
  // removal (use Clear or SetRoot). Intended.
  void Delete(void* Data, int32_t Priority, TPelHeightBalancedTreeNode* StartNode);
  // The first node met from the root with Priority, if its data is Data;
  // Parent receives the last node left behind on the way down.
  TPelHeightBalancedTreeNode* FindNode(TPelHeightBalancedTreeNode*& Parent, int32_t Priority,
                                       void* Data);
  TPelHeightBalancedTreeNode* GetRoot() const;
  void SetRoot(TPelHeightBalancedTreeNode* Node) { TPelBinaryTree::SetRoot(Node); }

  TDuplicates GetDuplicates() const { return FDuplicates; }
  void SetDuplicates(TDuplicates Value) { FDuplicates = Value; }

 private:
  // Add without its update bracket.
  TPelHeightBalancedTreeNode* Insert(void* Data, int32_t Priority,
                                     TPelHeightBalancedTreeNode* StartNode);

  TDuplicates FDuplicates = dupIgnore;
};

}  // namespace pel
