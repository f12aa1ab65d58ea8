#include "app/shared/Formats.h"
#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

TEST(InGerman, NumbersAreWrittenAsTheUserWritesThem) {
  FakeDesktop desktop;
  AppViewModel model(desktop);
  model.files()->addFiles(vanishedFiles(100'001));
  EXPECT_EQ(model.files()->jobs()->count(), 100'000);
  EXPECT_EQ(model.errorMessage(), QStringLiteral("The file queue is limited to 100.000 items."));
  EXPECT_EQ(formattedByteCount(1'250'000'000), QStringLiteral("1,25 GB"));
  EXPECT_EQ(formattedByteCount(100'000'000'000), QStringLiteral("100 GB"));
}

}  // namespace

}  // namespace tallyfold::test
