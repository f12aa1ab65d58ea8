// What the environment of the process says, which is asked once.

#include "app/shared/Formats.h"
#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

using Environment = ModelTest;

TEST_F(Environment, InGermanNumbersAreWrittenAsTheUserWritesThem) {
  model_->files()->addFiles(vanishedFiles(100'001));
  EXPECT_EQ(model_->files()->jobs()->count(), 100'000);
  EXPECT_EQ(model_->errorMessage(), QStringLiteral("The file queue is limited to 100.000 items."));
  EXPECT_EQ(formattedByteCount(1'250'000'000), QStringLiteral("1,25 GB"));
  EXPECT_EQ(formattedByteCount(100'000'000'000), QStringLiteral("100 GB"));
}

TEST_F(Environment, DigestThatTheSystemRefusesIsToldWhereItIsSelected) {
  model_->text()->setTextInput(QStringLiteral("abc"));
  ASSERT_TRUE(reached([&] { return !model_->text()->textError().isEmpty(); }));
  EXPECT_EQ(model_->text()->textError(), QStringLiteral("The system's cryptography library does not offer SHA-256."));
  EXPECT_TRUE(model_->text()->textHashes().algorithms().empty());

  QSignalSpy rest(model_->text()->findChild<QTimer*>(), &QTimer::timeout);
  model_->setSelectedAlgorithms({});
  ASSERT_TRUE(rest.wait(static_cast<int>(patience.count())));
  ASSERT_TRUE(reached([&] { return !model_->text()->isTextHashing(); }));
  EXPECT_EQ(model_->text()->textError(), QString());

  model_->setSelectedAlgorithms({HashAlgorithm::blake3});
  ASSERT_TRUE(reached([&] { return !model_->text()->textHashes().algorithms().empty(); }));
  EXPECT_EQ(model_->text()->textError(), QString());
  EXPECT_EQ(model_->errorMessage(), QString());
}

}  // namespace

}  // namespace tallyfold::test
