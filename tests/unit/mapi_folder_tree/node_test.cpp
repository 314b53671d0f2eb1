// The links of the tree and the order of siblings.
#include "node.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "failing_memory.h"

using namespace fendrel;
using testing::ElementsAre;

namespace {

class NamedNode : public CNODE {
 public:
  explicit NamedNode(const wchar_t* name, int* destroyed = nullptr) : name_(name), destroyed_(destroyed) { valid = 1; }
  ~NamedNode() override {
    if (destroyed_) ++*destroyed_;
  }
  const wchar_t* GetName() const noexcept override { return name_; }
  bool Expand() noexcept override { return true; }

 private:
  const wchar_t* name_;
  int* destroyed_;
};

std::vector<std::wstring> childNames(const CNODE& node) {
  std::vector<std::wstring> names;
  for (const CNODE* child = node.firstChild; child; child = child->nextSibling) names.emplace_back(child->GetName());
  return names;
}

TEST(Node, ChildrenStandInAscendingOrderWhateverTheOrderOfAdding) {
  NamedNode parent(L"parent");
  for (const wchar_t* name : {L"m", L"c", L"z", L"a", L"n"}) parent.AddChild(new NamedNode(name));
  EXPECT_THAT(childNames(parent), ElementsAre(L"a", L"c", L"m", L"n", L"z"));
}

TEST(Node, OfEqualNamesTheOneAddedLaterStandsFirst) {
  NamedNode parent(L"parent");
  for (const wchar_t* name : {L"Reports", L"archive", L"REPORTS", L"reports", L"zoo"})
    parent.AddChild(new NamedNode(name));
  EXPECT_THAT(childNames(parent), ElementsAre(L"archive", L"reports", L"REPORTS", L"Reports", L"zoo"));
}

TEST(Node, AddingSetsParentAndDepth) {
  NamedNode root(L"root");
  auto* const child = new NamedNode(L"child");
  auto* const grandchild = new NamedNode(L"grandchild");
  root.AddChild(child);
  child->AddChild(grandchild);
  EXPECT_EQ(root.depth, 0u);
  EXPECT_EQ(child->depth, 1u);
  EXPECT_EQ(grandchild->depth, 2u);
  EXPECT_EQ(grandchild->parent, child);
}

TEST(Node, RootIsTheNodeWithoutParent) {
  NamedNode root(L"root");
  auto* const child = new NamedNode(L"child");
  root.AddChild(child);
  EXPECT_TRUE(root.IsRoot());
  EXPECT_FALSE(child->IsRoot());
}

TEST(Node, HasChildrenOnceOneIsAdded) {
  NamedNode node(L"node");
  EXPECT_FALSE(node.HasChildren());
  node.AddChild(new NamedNode(L"child"));
  EXPECT_TRUE(node.HasChildren());
}

TEST(Node, EveryNodeCanBeSelected) {
  NamedNode root(L"root");
  EXPECT_TRUE(root.CanSelect());
}

TEST(Node, StartsUnexpandedWithoutAViewItem) {
  const NamedNode node(L"node");
  EXPECT_EQ(node.expanded, 0u);
  EXPECT_EQ(node.viewItem, 0u);
}

TEST(Node, DestroysItsWholeSubtree) {
  int destroyed = 0;
  {
    NamedNode root(L"root", &destroyed);
    auto* const child = new NamedNode(L"child", &destroyed);
    root.AddChild(child);
    child->AddChild(new NamedNode(L"a", &destroyed));
    child->AddChild(new NamedNode(L"b", &destroyed));
  }
  EXPECT_EQ(destroyed, 4);
}

// The guarded heap has no room for so many blocks.
TEST(NodeRuntimeHeap, DestroysAHundredThousandSiblingsWithoutRecursion) {
  int destroyed = 0;
  {
    NamedNode root(L"root");
    for (int i = 0; i < 100'000; ++i) root.AddChild(new NamedNode(L"same", &destroyed));
  }
  EXPECT_EQ(destroyed, 100'000);
}

}  // namespace
