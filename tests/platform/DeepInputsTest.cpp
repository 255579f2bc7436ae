// Input a million levels deep: tree walks, graph search, the regular-
// expression compiler, the stream reader and both directions of the text
// form either handle it without recursion or refuse it with their own error.
#include <gtest/gtest.h>

#include "graphs/PelGraph.h"
#include "platform/Classes.h"
#include "platform/ExpectRaises.h"
#include "platform/StreamTestClasses.h"
#include "text/PelRegularExpression.h"
#include "trees/PelTree.h"

using namespace pel;
using pel::test::ExpectRaises;

namespace {

constexpr int32_t kDeep = 1000000;

void* Tag(intptr_t I) { return reinterpret_cast<void*>(I); }

}  // namespace

TEST(DeepInputs, AMillionLevels) {
  // A binary tree that is one long left chain with a right leaf at the
  // bottom, and an n-ary chain: walks, searches, copies and frees.
  {
    auto tree = Make<TPelBinaryTree>();
    auto* node = As<TPelBinaryTreeNode>(tree->NewNode());
    tree->SetRoot(node);
    node->SetData(Tag(1));
    for (intptr_t i = 2; i <= kDeep; ++i) {
      node = node->AddLeftChild();
      node->SetData(Tag(i));
    }
    TPelBinaryTreeNode* leaf = node->AddRightChild();
    leaf->SetData(Tag(kDeep + 1));
    std::vector<intptr_t> seen;
    auto record = [&](TPelCustomTreeNode* N, intptr_t) {
      seen.push_back(reinterpret_cast<intptr_t>(N->GetData()));
    };
    for (TTraversalOrder order : {toPreOrder, toInOrder, toPostOrder}) {
      seen.clear();
      tree->Traverse(tree->GetRoot(), record, order, 0);
      ASSERT_EQ(seen.size(), std::size_t(kDeep) + 1);
      // Pre: 1 .. deep, leaf. In: deep, leaf, deep-1 .. 1. Post: leaf, deep .. 1.
      const intptr_t first[] = {1, kDeep, kDeep + 1};
      const intptr_t last[] = {kDeep + 1, 1, 1};
      EXPECT_EQ(seen.front(), first[order]);
      EXPECT_EQ(seen.back(), last[order]);
      EXPECT_EQ(tree->FindItemNode(tree->GetRoot(), Tag(kDeep + 1), order), leaf);
    }
    EXPECT_EQ(tree->GetParentNode(leaf), node);
    auto copy = Make<TPelBinaryTree>();
    copy->SetRoot(As<TPelBinaryTreeNode>(copy->NewNode()));
    copy->GetRoot()->Assign(tree->GetRoot());
    seen.clear();
    copy->Traverse(copy->GetRoot(), record, toPostOrder, 0);
    EXPECT_EQ(seen.size(), std::size_t(kDeep) + 1);
  }
  {
    auto tree = Make<TPelTree>();
    TPelCustomTreeNode* node = tree->NewNode();
    tree->SetRoot(As<TPelTreeNode>(node));
    node->SetData(Tag(1));
    for (intptr_t i = 2; i <= kDeep; ++i) {
      node = node->NewChild();
      node->SetData(Tag(i));
    }
    int32_t visits = 0;
    tree->Infix(
        tree->GetRoot(), [&](TPelCustomTreeNode* N, intptr_t) { visits += N == node; }, 0);
    EXPECT_EQ(visits, 1);
    for (TTraversalOrder order : {toPreOrder, toInOrder, toPostOrder})
      EXPECT_EQ(tree->FindItemNode(tree->GetRoot(), Tag(kDeep), order), node);
    auto copy = Make<TPelTree>();
    copy->SetRoot(As<TPelTreeNode>(copy->NewNode()));
    copy->GetRoot()->Assign(tree->GetRoot());
    EXPECT_EQ(copy->FindItemNode(copy->GetRoot(), Tag(kDeep), toPostOrder)->GetData(), Tag(kDeep));
    tree->Clear();
    EXPECT_EQ(tree->GetRoot(), nullptr);
  }
  // A height-balanced tree grown by hand into one long chain: insertion at
  // its bottom, lookups and a walk in priority order go down a million
  // levels.
  {
    auto tree = Make<TPelHeightBalancedTree>();
    TPelHeightBalancedTreeNode* node = tree->NewNode(kDeep);
    tree->SetRoot(node);
    for (int32_t p = kDeep - 1; p >= 1; --p) {
      TPelHeightBalancedTreeNode* next = tree->NewNode(p);
      node->SetHBLeft(next);
      node = next;
    }
    TPelHeightBalancedTreeNode* added = tree->Add(Tag(7), 0);
    TPelHeightBalancedTreeNode* parent = nullptr;
    EXPECT_EQ(tree->FindNode(parent, 0, Tag(7)), added);
    tree->Delete(Tag(7), 0);
    int32_t expected = 0;
    bool inOrder = true;
    tree->Traverse(
        tree->GetRoot(),
        [&](TPelCustomTreeNode* N, intptr_t) {
          inOrder = inOrder && As<TPelHeightBalancedTreeNode>(N)->GetPriority() == expected++;
        },
        toInOrder, 0);
    EXPECT_TRUE(inOrder);
    EXPECT_EQ(expected, kDeep + 1);
  }

  // Depth-first search down a path of a million nodes.
  {
    auto graph = Make<TPelGraph>(nullptr);
    graph->SetDirected(true);
    TPelGraphNode* first = graph->NewNode();
    TPelGraphNode* node = first;
    for (int32_t i = 1; i < kDeep; ++i) {
      TPelGraphNode* next = graph->NewNode();
      node->AddEdge(next);
      node = next;
    }
    graph->TraverseFrom(first);
    EXPECT_TRUE(node->GetVisited());
  }

  // Parentheses: the compiler refuses nesting beyond its documented limit.
  ExpectRaises<ERXException>(
      [] { Make<TPelRegularExpression>(String(kDeep, '(') + "a" + String(kDeep, ')')); },
      Format(SParenthesesTooDeep, {TPelRegularExpression::MaxParenthesesDepth}));

  // Streams: components, lists and collections nested a million deep are
  // refused by the reader and the printer alike, and so is text by the parser.
  streamtest::RegisterStreamTestClasses();
  const String tooDeep = Format(SStreamTooDeep, {kMaxStreamDepth});
  auto component = [](const String& Props, const String& Inner) {
    return String("\x08TDrawing\x00", 10) + Props + '\0' + Inner;
  };
  String components = "TPF0";
  for (int32_t i = 0; i < kDeep; ++i) components += component("", "");
  ExpectRaises<EReadError>([&] { Make<TStringStream>(components)->ReadComponent(nullptr); },
                           tooDeep);
  String lists(kDeep, vaList);
  ExpectRaises<EReadError>([&] { Make<TReader>(Make<TStringStream>(lists).get())->SkipValue(); },
                           tooDeep);
  lists = "TPF0" + component("\x04Tags" + lists, "");
  String collections = "TPF0" + component("", "");
  collections.pop_back();  // a collection inside every item
  for (int32_t i = 0; i < kDeep; ++i) collections += String("\x06Points\x0e\x01", 9);
  for (const String* bin : {&components, &lists, &collections})
    ExpectRaises<EReadError>(
        [&] { ObjectBinaryToText(Make<TStringStream>(*bin).get(), Make<TStringStream>().get()); },
        tooDeep);
  String text;
  for (int32_t i = 0; i < kDeep; ++i) text += "object A: TDrawing\n";
  String textLists = "object A: TDrawing\n  Tags = " + String(kDeep, '(');
  String textItems = "object A: TDrawing\n";
  for (int32_t i = 0; i < kDeep; ++i) textItems += "Points = < item\n";
  for (const String* t : {&text, &textLists, &textItems}) {
    try {
      ObjectTextToBinary(Make<TStringStream>(*t).get(), Make<TStringStream>().get());
      ADD_FAILURE() << "parsed";
    } catch (const EParserError& e) {
      EXPECT_EQ(e.Message().substr(0, tooDeep.size() + 9), tooDeep + " on line ");
    }
  }
}
