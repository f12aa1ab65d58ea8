#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

namespace fs = std::filesystem;

class CompareFlow : public ModelTest {
 protected:
  void start(const fs::path& first, const fs::path& second) {
    model_->compare()->setCompareFiles({urlOf(first), urlOf(second)}, false);
    model_->compare()->compare();
  }

  [[nodiscard]] QVariant shown(const char* key) {
    return model_->compare()->compareResultForScreen().value(QLatin1String(key));
  }
};

TEST_F(CompareFlow, ResultIsToldInWordsAndExactNumbers) {
  const auto file = folder_.file("a", std::string(5000, 'x'));
  const auto same = folder_.file("same", std::string(5000, 'x'));
  const auto differs = folder_.file("differs", std::string(4999, 'x') + "y");
  const auto shortest = folder_.file("shortest", "x");
  const auto longer = folder_.file("longer", std::string(5001, 'x'));
  const struct {
    fs::path second;
    FileComparisonResult result;
    QString title;
    QStringList details;
  } cases[] = {
      {same, FileComparison::Identical{}, QStringLiteral("Files are identical"), {}},
      {differs,
       FileComparison::ContentMismatch{4999},
       QStringLiteral("Files are different"),
       {QStringLiteral("First difference at byte 4999"), QStringLiteral("Hexadecimal: 0x1387")}},
      {longer,
       FileComparison::DifferentSize{5000, 5001},
       QStringLiteral("Files are different"),
       {QStringLiteral("Different sizes — A: 5,000 bytes, B: 5,001 bytes"),
        QStringLiteral("The difference is 1 byte.")}},
      {shortest,
       FileComparison::DifferentSize{5000, 1},
       QStringLiteral("Files are different"),
       {QStringLiteral("Different sizes — A: 5,000 bytes, B: 1 byte"),
        QStringLiteral("The difference is 4,999 bytes.")}},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.second);
    start(file, test.second);
    ASSERT_TRUE(reached([this] { return !model_->compare()->isComparing(); }));
    EXPECT_EQ(model_->compare()->compareResult(), test.result);
    EXPECT_EQ(shown("title").toString(), test.title);
    EXPECT_EQ(shown("details").toStringList(), test.details);
    EXPECT_EQ(model_->unseenOutcome(AppMode::Compare), test.details.isEmpty() ? Outcome::AllWell : Outcome::SomeFailed);
  }
  model_->compare()->setCompareFiles({urlOf(folder_.path() / "missing")}, true);
  EXPECT_EQ(model_->compare()->compareResult(), std::nullopt) << "It was about another file";
  model_->setMode(AppMode::Compare);
  model_->setMode(AppMode::Files);
  model_->compare()->compare();
  ASSERT_TRUE(reached([this] { return !model_->compare()->isComparing(); }));
  EXPECT_EQ(model_->errorMessage(), QStringLiteral("No such file or directory"));
  EXPECT_EQ(model_->unseenOutcome(AppMode::Compare), Outcome::SomeFailed);
}

TEST_F(CompareFlow, RunningOneKeepsItsFiles) {
  const auto first = folder_.file("first", "abc");
  const auto second = folder_.file("second", "abc");
  holdAt("read", 1);
  start(first, second);
  ASSERT_TRUE(gate_.waitForArrival());
  model_->compare()->setCompareFiles({urlOf(second)}, false);
  model_->compare()->swapCompareFiles();
  model_->compare()->chooseCompareFile(true);
  EXPECT_FALSE(desktop_.singlePanel);
  EXPECT_EQ(model_->compare()->compareFirstURL(), first);
  gate_.open();
  ASSERT_TRUE(reached([this] { return model_->compare()->compareResult().has_value(); }));
}

}  // namespace

}  // namespace tallyfold::test
