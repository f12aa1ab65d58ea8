#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

namespace fs = std::filesystem;

const std::string sha256OfAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

class VerifyFlow : public ModelTest {
 protected:
  void SetUp() override { model_->verify()->setVerifyFile({urlOf(file_)}); }

  void verify(const std::string& pasted) {
    model_->verify()->setExpectedHash(QString::fromStdString(pasted));
    model_->verify()->verify();
    ASSERT_TRUE(reached([this] { return !model_->verify()->isVerifying(); }));
  }

  [[nodiscard]] QString title() {
    return model_->verify()->verifyResultForScreen().value(QStringLiteral("title")).toString();
  }
  [[nodiscard]] QString details() {
    return model_->verify()->verifyResultForScreen().value(QStringLiteral("details")).toString();
  }

  const fs::path file_ = folder_.file("abc.txt", "abc");
};

TEST_F(VerifyFlow, WhatPeoplePasteIsUnderstood) {
  const struct {
    std::string pasted;
    HashAlgorithm algorithm;
  } cases[] = {
      {"  0xA9993E36 4706816A BA3E2571\n7850C26C 9CD0D89D \r\n", HashAlgorithm::sha1},
      {"SHA256 (some file (1).iso) = " + sha256OfAbc, HashAlgorithm::sha256},
      {"900150983cd24fb0d6963f7d28e17f72 *abc.txt", HashAlgorithm::md5},
      {"BLAKE3 (x) = 6437b3ac38465133ffb63b75273a8db548c558465d79db03fd359c6cd5bd9d85", HashAlgorithm::blake3},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.pasted);
    verify(test.pasted);
    const auto* match = std::get_if<Verification::Match>(&model_->verify()->verifyResult().value());
    ASSERT_NE(match, nullptr);
    EXPECT_EQ(match->algorithm, test.algorithm);
    EXPECT_EQ(model_->verify()->recognisedAlgorithm().toStdString(), test.algorithm.rawValue());
    EXPECT_EQ(model_->verify()->verifyProgress(), 1);
  }
}

TEST_F(VerifyFlow, UnclearChecksumIsToldWithoutReadingTheFile) {
  verify(sha256OfAbc);
  EXPECT_EQ(model_->verify()->verifyResult(), VerificationResult(Verification::AmbiguousExpectedHash{}));
  EXPECT_EQ(details(),
            QStringLiteral("64-character digests can be SHA-256 or BLAKE3. Choose the algorithm from the menu."));
  verify("not a checksum");
  EXPECT_EQ(model_->verify()->verifyResult(), VerificationResult(Verification::InvalidExpectedHash{}));
  EXPECT_EQ(details(), QStringLiteral("Invalid or unsupported checksum format."));
  EXPECT_THAT(calls_.names, testing::IsEmpty());

  model_->verify()->setVerifyAlgorithm(QStringLiteral("SHA-256"));
  verify(sha256OfAbc);
  EXPECT_EQ(model_->verify()->verifyResult(),
            VerificationResult(Verification::Match{HashAlgorithm::sha256, sha256OfAbc}));
}

TEST_F(VerifyFlow, MismatchShowsBothDigestsAndWhereTheyPart) {
  verify("SHA256 (x) = " + sha256OfAbc.substr(0, 63) + "0");
  EXPECT_EQ(model_->verify()->verifyResult(),
            VerificationResult(Verification::Mismatch{HashAlgorithm::sha256, sha256OfAbc}));
  EXPECT_EQ(title(), QStringLiteral("Checksum mismatch (SHA-256)"));
  EXPECT_EQ(model_->unseenOutcome(AppMode::Verify), Outcome::SomeFailed);
  const QVariantMap result = model_->verify()->verifyResultForScreen();
  EXPECT_EQ(result.value(QStringLiteral("difference")), 63);
  const QVariantMap actual = result.value(QStringLiteral("digests")).toList().at(1).toMap();
  EXPECT_EQ(actual.value(QStringLiteral("label")), QStringLiteral("Actual: "));
  EXPECT_EQ(actual.value(QStringLiteral("digest")).toString().toStdString(), sha256OfAbc);
}

TEST_F(VerifyFlow, FileThatCannotBeReadIsNotVerified) {
  fs::remove(file_);
  verify("900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(model_->verify()->verifyResult(), VerificationResult(Verification::Error{"No such file or directory"}));
  EXPECT_EQ(model_->errorMessage(), QString());
}

TEST_F(VerifyFlow, VerdictGoesWithWhatItWasAbout) {
  const auto other = urlOf(folder_.file("other", ""));
  const std::vector<std::function<void()>> changes = {
      [&] { model_->verify()->setVerifyFile({other}); },
      [&] { model_->verify()->setExpectedHash(QStringLiteral("352441c2")); },
      [&] { model_->verify()->setVerifyAlgorithm(QStringLiteral("MD5")); },
  };
  for (const auto& change : changes) {
    verify("900150983cd24fb0d6963f7d28e17f72");
    ASSERT_NE(model_->verify()->verifyResult(), std::nullopt);
    change();
    EXPECT_EQ(model_->verify()->verifyResult(), std::nullopt);
  }
}

TEST_F(VerifyFlow, RunningOneRefusesAnotherFileAndAnotherStart) {
  holdAt("read", 1);
  model_->verify()->setExpectedHash(QStringLiteral("900150983cd24fb0d6963f7d28e17f72"));
  model_->verify()->verify();
  ASSERT_TRUE(gate_.waitForArrival());
  model_->verify()->verify();
  model_->verify()->setVerifyFile({urlOf("/elsewhere")});
  EXPECT_EQ(model_->verify()->verifyURL(), file_);
  model_->setMode(AppMode::Text);
  gate_.open();
  ASSERT_TRUE(reached([&] { return !model_->verify()->isVerifying(); }));
  EXPECT_TRUE(std::holds_alternative<Verification::Match>(model_->verify()->verifyResult().value()));
  EXPECT_EQ(model_->unseenOutcome(AppMode::Verify), Outcome::AllWell);
  model_->setMode(AppMode::Verify);
  EXPECT_EQ(model_->unseenOutcome(AppMode::Verify), Outcome::NoOutcome);
}

}  // namespace

}  // namespace tallyfold::test
