#include "dialog/TextRanks.h"

#include "testing/FileModelTest.h"

namespace oracle = hadoop::oracle;

namespace {

class TextRanksTest : public FileModelTest
{
protected:
    static oracle::HdfsFileStatusProto ownedBy(const char *owner)
    {
        oracle::HdfsFileStatusProto status = fileStatus(std::string("f.") + owner);
        status.set_owner(owner);
        return status;
    }
    bool isLess(int column, int left, int right) { return ranks.isLess(model, column, left, right); }

    TextRanks ranks;
};

TEST_F(TextRanksTest, TextsThatDifferInCaseOnlyAreNeitherLess)
{
    listHdfs({ownedBy("b"), ownedBy("A"), ownedBy("a"), ownedBy("B"), ownedBy("")});
    EXPECT_TRUE(isLess(4, 1, 0));
    EXPECT_FALSE(isLess(4, 0, 1));
    EXPECT_FALSE(isLess(4, 1, 2));
    EXPECT_FALSE(isLess(4, 2, 1));
    EXPECT_FALSE(isLess(4, 0, 3));
    EXPECT_TRUE(isLess(4, 4, 2));
    EXPECT_FALSE(isLess(4, 0, 0));
}

TEST_F(TextRanksTest, FollowsTheColumnAndTheModel)
{
    listHdfs({ownedBy("b"), ownedBy("a")});
    EXPECT_FALSE(isLess(4, 0, 1));
    EXPECT_FALSE(isLess(5, 0, 1));
    EXPECT_FALSE(isLess(5, 1, 0));
    EXPECT_FALSE(isLess(2, 0, 1));
    listHdfs({ownedBy("a"), ownedBy("c"), ownedBy("b")});
    EXPECT_TRUE(isLess(2, 0, 1));
    EXPECT_TRUE(isLess(2, 2, 1));
    HdfsFileSystemModel other(context);
    other.listDirectory(QLatin1String("hdfs:/d"));
    EXPECT_TRUE(ranks.isLess(other, 2, 2, 1));
}

TEST_F(TextRanksTest, FollowsRenamesAndNewFolders)
{
    listHdfs({ownedBy("b"), ownedBy("c")});
    EXPECT_TRUE(isLess(2, 0, 1));
    answerWithResult<oracle::RenameResponseProto>("rename", true);
    ASSERT_TRUE(model.setData(at(0), QLatin1String("f.z")));
    EXPECT_FALSE(isLess(2, 0, 1));
    EXPECT_TRUE(isLess(2, 1, 0));
    answerWithResult<oracle::MkdirsResponseProto>("mkdirs", true);
    ASSERT_TRUE(model.mkdir(QLatin1String("d")).isValid());
    EXPECT_TRUE(isLess(2, 0, 2));
}

} // namespace
