#include "stattree/results/tree_node.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "stattree/results/results_test_util.h"

namespace stattree {
namespace {

using testing::MapRecord;

class TreeNodeTest : public testing::ResultsTest {
 protected:
  void SetUp() override {
    testing::ResultsTest::SetUp();
    ASSERT_TRUE(prototype.AddNewStatsDefn(count));
    ASSERT_TRUE(root.CreateCriteriaForAllRecords());
    root.SetField(Field{"Root", -1});
  }

  // Finds or makes the child for the record's value in `column`, as the
  // engine does.
  TreeNode* Descend(TreeNode& node, const MapRecord& record, int column, bool* made = nullptr) {
    TreeNode* child = nullptr;
    bool created = false;
    EXPECT_TRUE(node.CreateChild(child, created, &record));
    if (created) {
      EXPECT_TRUE(child->CreateCriteria(column, record));
      if (!child->EmptyNode()) child->InitializeResults(prototype);
    }
    if (made != nullptr) *made = created;
    return child;
  }
  static std::string Name(const TreeNode* node) {
    std::string name;
    return node->GetName(name) ? name : "?";
  }

  StatsDefn count = testing::Defn("N", Field{"Amount", 3}, StatsDefn::Count);
  NodeResults prototype;
  TreeNode root;
};

TEST_F(TreeNodeTest, ChildrenKeepFirstSeenOrderAndStableAddresses) {
  bool made = false;
  TreeNode* a = Descend(root, MapRecord{{1, "A"}}, 1);
  TreeNode* b = Descend(root, MapRecord{{1, "B"}}, 1);
  EXPECT_EQ(Descend(root, MapRecord{{1, "A"}}, 1, &made), a);
  EXPECT_FALSE(made);
  // Text-equivalent values share a child, which keeps the first text.
  TreeNode* five = Descend(root, MapRecord{{1, 5}}, 1);
  EXPECT_EQ(Descend(root, MapRecord{{1, "5"}}, 1, &made), five);
  EXPECT_FALSE(made);
  TreeNode* child = nullptr;
  ASSERT_TRUE(root.GetChild(child, 1));
  EXPECT_EQ(child, b);
  EXPECT_EQ(Name(a), "A");
  EXPECT_EQ(Name(&root), "root");
  EXPECT_FALSE(root.GetChild(child, root.GetChildCount()));
  EXPECT_EQ(HeldCode(), 11140);
}

TEST_F(TreeNodeTest, ANodeWithoutNameCountsAsEmpty) {
  TreeNode fresh;
  std::string name = "kept";
  EXPECT_FALSE(fresh.GetName(name));
  EXPECT_EQ(Locations().back(), 11150);
  EXPECT_TRUE(fresh.EmptyNode());
  EXPECT_EQ(Locations().back(), 11152);

  TreeNode* blank = Descend(root, MapRecord{{1, ""}}, 1);
  EXPECT_EQ(Name(blank), "[no name]");
  Descend(*blank, MapRecord{{2, "X"}}, 2);
  EXPECT_EQ(root.GetChildCount(), 1);
  TreeNode* hidden = nullptr;
  ASSERT_TRUE(root.GetChild(hidden, 0));
  EXPECT_EQ(Name(hidden), "X");
  EXPECT_EQ(hidden->GetParent(), &root);
}

TEST_F(TreeNodeTest, VisibleChildrenFollowEveryChange) {
  TreeNode* blank = Descend(root, MapRecord{{1, ""}}, 1);
  EXPECT_EQ(root.GetChildCount(), 0);
  Descend(*blank, MapRecord{{2, "X"}}, 2);
  EXPECT_EQ(root.GetChildCount(), 1);
  blank->SetField(Field{"Root", -1});  // named "root" from now on: visible itself
  TreeNode* child = nullptr;
  ASSERT_TRUE(root.GetChild(child, 0));
  EXPECT_EQ(child, blank);

  // A child that can't be named is reported on every walk.
  TreeNode* bare = nullptr;
  bool created = false;
  MapRecord other{{1, "Z"}};
  ASSERT_TRUE(root.CreateChild(bare, created, &other));
  TheErrorManager().Clear();
  EXPECT_EQ(root.GetChildCount(), 1);
  EXPECT_EQ(root.GetChildCount(), 1);
  EXPECT_EQ(Locations(), (std::vector<int>{11150, 11152, 11150, 11152}));
}

TEST_F(TreeNodeTest, CopiesAreDeepAndRepointTheirChildren) {
  TreeNode* north = Descend(root, MapRecord{{1, "North"}}, 1);
  Descend(*north, MapRecord{{2, "A"}}, 2);
  TreeNode copy(*north);
  EXPECT_EQ(copy.GetParent(), &root);
  TreeNode* copiedChild = nullptr;
  ASSERT_TRUE(copy.GetChild(copiedChild, 0));
  EXPECT_EQ(copiedChild->GetParent(), &copy);
  EXPECT_NE(copy.GetCriteria(), north->GetCriteria());
  Descend(*north, MapRecord{{2, "B"}}, 2);
  EXPECT_EQ(copy.GetChildCount(), 1);

  // Assigning a node from its own child reads the child before releasing it.
  TreeNode* second = nullptr;
  ASSERT_TRUE(north->GetChild(second, 1));
  *north = *second;
  EXPECT_EQ(Name(north), "B");
  EXPECT_EQ(north->GetChildCount(), 0);
}

}  // namespace
}  // namespace stattree
