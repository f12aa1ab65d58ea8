#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

using RefusedDigest = ModelTest;

TEST_F(RefusedDigest, IsToldInsteadOfDigestsAndNothingIsToldWhereNoneIsSelected) {
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
