#include "stattree/results/tree_node.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "stattree/results/results_test_util.h"

namespace stattree {
namespace {

using testing::Defn;
using testing::MapRecord;

class TreeNodeTest : public testing::ResultsTest {
 protected:
  void SetUp() override {
    testing::ResultsTest::SetUp();
    ASSERT_TRUE(prototype.AddNewStatsDefn(count));
    ASSERT_TRUE(root.CreateCriteriaForAllRecords());
    root.SetField(Field{"Root", -1});
    ASSERT_TRUE(root.InitializeResults(prototype));
  }

  // Finds or makes the child of `node` for the record's value in `column`,
  // as the engine does, and feeds the record to it.
  TreeNode* Descend(TreeNode& node, const MapRecord& record, int column, bool* made = nullptr) {
    TreeNode* child = nullptr;
    bool created = false;
    EXPECT_TRUE(node.CreateChild(child, created, &record));
    if (child == nullptr) return nullptr;
    if (created) {
      child->SetField(Field{"F" + std::to_string(column), column});
      EXPECT_TRUE(child->CreateCriteria(column, record));
      if (!child->EmptyNode()) child->InitializeResults(prototype);
    }
    EXPECT_TRUE(child->ProcessRecord(&record));
    if (made != nullptr) *made = created;
    return child;
  }

  static std::string Name(const TreeNode* node) {
    std::string name;
    return node != nullptr && node->GetName(name) ? name : "?";
  }

  StatsDefn count = Defn("N", Field{"Amount", 3}, StatsDefn::Count);
  NodeResults prototype;
  TreeNode root;
};

TEST_F(TreeNodeTest, ChildrenKeepFirstSeenOrder) {
  bool made = false;
  TreeNode* a = Descend(root, MapRecord{{1, "A"}}, 1, &made);
  EXPECT_TRUE(made);
  TreeNode* b = Descend(root, MapRecord{{1, "B"}}, 1, &made);
  EXPECT_TRUE(made);
  // Pointers stay valid while siblings are appended.
  EXPECT_EQ(Descend(root, MapRecord{{1, "A"}}, 1, &made), a);
  EXPECT_FALSE(made);
  // Text-equivalent values share a child, which keeps the first text.
  TreeNode* five = Descend(root, MapRecord{{1, 5}}, 1);
  EXPECT_EQ(Descend(root, MapRecord{{1, "5"}}, 1, &made), five);
  EXPECT_FALSE(made);

  ASSERT_EQ(root.GetChildCount(), 3);
  TreeNode* child = nullptr;
  ASSERT_TRUE(root.GetChild(child, 1));
  EXPECT_EQ(child, b);
  EXPECT_EQ(Name(a), "A");
  EXPECT_EQ(Name(&root), "root");
  EXPECT_EQ(
      a->GetSubsetResults("")->GetGroupingResults("")->GetTotalsStatsSet()->GetRecordsProcessed(),
      2);
}

TEST_F(TreeNodeTest, EmptyNodesAreTransparent) {
  // The worked example: Region in column 2, Product in column 5.
  const std::vector<MapRecord> records{{{2, "North"}, {5, "A"}},
                                       {{2, "South"}, {5, "B"}},
                                       {{2, "North"}, {5, "B"}},
                                       {{2, Variant()}, {5, "A"}}};
  for (const MapRecord& record : records) {
    ASSERT_TRUE(root.ProcessRecord(&record));
    TreeNode* level1 = Descend(root, record, 2);
    ASSERT_NE(level1, nullptr);
    Descend(*level1, record, 5);
  }
  ASSERT_EQ(root.GetChildCount(), 3);
  std::vector<std::string> names;
  TreeNode* hidden = nullptr;
  for (int i = 0; i < 3; ++i) {
    TreeNode* child = nullptr;
    ASSERT_TRUE(root.GetChild(child, i));
    names.push_back(Name(child));
    hidden = child;
  }
  EXPECT_EQ(names, (std::vector<std::string>{"North", "South", "A"}));
  EXPECT_EQ(hidden->GetParent(), &root);
  EXPECT_EQ(Name(hidden), "A");
  EXPECT_NE(hidden->GetSubsetResults(""), nullptr);

  TreeNode* child = nullptr;
  for (int index : {-1, 3}) {
    TheErrorManager().Clear();
    EXPECT_FALSE(root.GetChild(child, index));
    EXPECT_EQ(HeldCode(), 11140);
    EXPECT_EQ(child, nullptr);
  }
}

TEST_F(TreeNodeTest, ANodeWithoutNameCountsAsEmpty) {
  TreeNode fresh;
  std::string name = "kept";
  EXPECT_FALSE(fresh.GetName(name));
  EXPECT_EQ(Locations().back(), 11150);
  EXPECT_TRUE(fresh.EmptyNode());
  EXPECT_EQ(Locations().back(), 11152);
  EXPECT_EQ(fresh.GetParent(), nullptr);

  MapRecord noText{{1, ""}};
  TreeNode blank;
  ASSERT_TRUE(blank.CreateCriteria(1, noText));
  EXPECT_EQ(Name(&blank), TreeNode::sEmptyNodeName);
  EXPECT_EQ(TreeNode::sEmptyNodeName, "[no name]");
}

TEST_F(TreeNodeTest, CriteriaAreCreatedOnce) {
  EXPECT_FALSE(root.CreateCriteriaForAllRecords());
  EXPECT_EQ(HeldCode(), 11070);
  TreeNode node;
  ASSERT_TRUE(node.CreateCriteria(1, MapRecord{{1, "A"}}));
  Criteria* first = node.GetCriteria();
  EXPECT_FALSE(node.CreateCriteria(1, MapRecord{{1, "B"}}));
  EXPECT_EQ(HeldCode(), 11080);
  EXPECT_EQ(node.GetCriteria(), first);
  EXPECT_EQ(Name(&node), "A");

  TreeNode unread;
  EXPECT_FALSE(unread.CreateCriteria(1, MapRecord{}));
  EXPECT_EQ(Locations().back(), 11100);
  EXPECT_NE(unread.GetCriteria(), nullptr);
}

TEST_F(TreeNodeTest, NullRecordsAreRefused) {
  TreeNode* child = nullptr;
  bool created = false;
  EXPECT_FALSE(root.CreateChild(child, created, nullptr));
  EXPECT_EQ(HeldCode(), 11120);
  EXPECT_EQ(child, nullptr);
  TheErrorManager().Clear();
  EXPECT_FALSE(root.ProcessRecord(nullptr));
  EXPECT_EQ(Locations().back(), 11110);
}

TEST_F(TreeNodeTest, CopiesAreDeepAndRepointTheirChildren) {
  TreeNode* north = Descend(root, MapRecord{{1, "North"}}, 1);
  Descend(*north, MapRecord{{1, "North"}, {2, "A"}}, 2);
  TreeNode copy(*north);
  EXPECT_EQ(copy.GetParent(), &root);
  ASSERT_EQ(copy.GetChildCount(), 1);
  TreeNode* copiedChild = nullptr;
  ASSERT_TRUE(copy.GetChild(copiedChild, 0));
  EXPECT_EQ(copiedChild->GetParent(), &copy);
  EXPECT_NE(copy.GetCriteria(), north->GetCriteria());

  Descend(*north, MapRecord{{1, "North"}, {2, "B"}}, 2);
  EXPECT_EQ(copy.GetChildCount(), 1);

  // Assigning a node from its own descendant is safe.
  TreeNode* deep = nullptr;
  ASSERT_TRUE(north->GetChild(deep, 1));
  *north = *deep;
  EXPECT_EQ(Name(north), "B");
  EXPECT_EQ(north->GetChildCount(), 0);
  EXPECT_EQ(north->GetParent(), north);  // the source's parent was north itself

  copy.DeleteDataMembers();
  EXPECT_EQ(copy.GetCriteria(), nullptr);
  EXPECT_EQ(copy.GetChildCount(), 0);
  Field field;
  ASSERT_TRUE(copy.GetField(field));
  EXPECT_EQ(field.colNum, -1);
  EXPECT_EQ(field.name, "");
}

}  // namespace
}  // namespace stattree
