// The Text, Verify and Compare modes.

#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

using TextFlow = ModelTest;

TEST_F(TextFlow, EditWinsOverTheLargeTextInFlight) {
  // Another may be as much as a twentieth late.
  EXPECT_EQ(model_->text()->findChild<QTimer*>()->timerType(), Qt::PreciseTimer);
  model_->choosePreset(AppViewModel::AllAlgorithms);
  QSignalSpy changes(model_->text(), &tallyfold::TextFlow::textHashesChanged);
  desktop_.otherProgramsText = QString(64 << 20, u'x');
  model_->text()->pasteText();
  EXPECT_EQ(model_->text()->textUTF8ByteCount(), 64 << 20);
  ASSERT_TRUE(reached([&] { return model_->text()->isTextHashing(); }));
  EXPECT_TRUE(BackgroundTask::waitForAll(patience)) << "its digests are on their way";
  // A burst of edits is counted at once and hashed once.
  for (const QString& text : {QStringLiteral("caf"), QStringLiteral("caf\u00e9"), QString()}) {
    model_->text()->setTextInput(text);
    EXPECT_EQ(model_->text()->textUTF8ByteCount(), text.toUtf8().size());
    EXPECT_TRUE(model_->text()->textHashes().algorithms().empty());
  }
  ASSERT_TRUE(reached([this] { return !model_->text()->textHashes().algorithms().empty(); }));
  EXPECT_EQ(model_->text()->textHashes().find(HashAlgorithm::md5), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(changes.count(), 5) << "four edits and one set of digests";
  model_->text()->setTextInput(QStringLiteral("x"));
  EXPECT_TRUE(model_->text()->textHashes().algorithms().empty()) << "those of another text";
}

const std::string md5OfAbc = "900150983cd24fb0d6963f7d28e17f72";
const std::string sha256OfAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

class VerifyFlow : public ModelTest {
 protected:
  void SetUp() override { model_->verify()->setVerifyFile({urlOf(file_)}); }

  void verify(const std::string& pasted) {
    model_->verify()->setExpectedHash(QString::fromStdString(pasted));
    model_->verify()->verify();
    ASSERT_TRUE(reached([this] { return !model_->verify()->isVerifying(); }));
  }

  [[nodiscard]] QVariant shown(const char* key) {
    return model_->verify()->verifyResultForScreen().value(QLatin1String(key));
  }

  const fs::path file_ = folder_.file("abc.txt", "abc");
};

TEST_F(VerifyFlow, WhatPeoplePasteIsUnderstood) {
  const std::pair<std::string, HashAlgorithm> cases[] = {
      {"  0xA9993E36 4706816A BA3E2571\n7850C26C 9CD0D89D \r\n", HashAlgorithm::sha1},
      {"SHA256 (some file (1).iso) = " + sha256OfAbc, HashAlgorithm::sha256},
      {md5OfAbc + " *abc.txt", HashAlgorithm::md5},
      {"BLAKE3 (x) = 6437b3ac38465133ffb63b75273a8db548c558465d79db03fd359c6cd5bd9d85", HashAlgorithm::blake3},
  };
  for (const auto& [pasted, algorithm] : cases) {
    SCOPED_TRACE(pasted);
    verify(pasted);
    const auto* match = std::get_if<Verification::Match>(&model_->verify()->verifyResult().value());
    ASSERT_NE(match, nullptr);
    EXPECT_EQ(match->algorithm, algorithm);
    EXPECT_EQ(model_->verify()->recognisedAlgorithm().toStdString(), algorithm.rawValue());
    EXPECT_EQ(model_->verify()->verifyProgress(), 1);
  }
}

TEST_F(VerifyFlow, UnclearChecksumIsToldWithoutReadingTheFile) {
  verify(sha256OfAbc);
  EXPECT_EQ(model_->verify()->verifyResult(), VerificationResult(Verification::AmbiguousExpectedHash{}));
  EXPECT_EQ(shown("details"), "64-character digests can be SHA-256 or BLAKE3. Choose the algorithm from the menu.");
  verify("not a checksum");
  EXPECT_EQ(model_->verify()->verifyResult(), VerificationResult(Verification::InvalidExpectedHash{}));
  EXPECT_EQ(shown("details"), "Invalid or unsupported checksum format.");
  EXPECT_THAT(calls_.names, IsEmpty());
  model_->verify()->setVerifyAlgorithm(QStringLiteral("SHA-256"));
  verify(sha256OfAbc);
  EXPECT_EQ(model_->verify()->verifyResult(),
            VerificationResult(Verification::Match{HashAlgorithm::sha256, sha256OfAbc}));
}

TEST_F(VerifyFlow, MismatchShowsBothDigestsAndWhereTheyPart) {
  verify("SHA256 (x) = " + sha256OfAbc.substr(0, 63) + "0");
  EXPECT_EQ(model_->verify()->verifyResult(),
            VerificationResult(Verification::Mismatch{HashAlgorithm::sha256, sha256OfAbc}));
  EXPECT_EQ(shown("title"), "Checksum mismatch (SHA-256)");
  EXPECT_EQ(model_->unseenOutcome(AppMode::Verify), Outcome::SomeFailed);
  EXPECT_EQ(shown("difference"), 63);
  const QVariantMap actual = shown("digests").toList().at(1).toMap();
  EXPECT_EQ(actual.value(QStringLiteral("label")), "Actual: ");
  EXPECT_EQ(actual.value(QStringLiteral("digest")).toString().toStdString(), sha256OfAbc);
}

TEST_F(VerifyFlow, VerdictGoesWithWhatItWasAbout) {
  const auto other = urlOf(folder_.file("other", ""));
  const std::vector<std::function<void()>> changes = {
      [&] { model_->verify()->setVerifyFile({other}); },
      [&] { model_->verify()->setExpectedHash(QStringLiteral("352441c2")); },
      [&] { model_->verify()->setVerifyAlgorithm(QStringLiteral("MD5")); },
  };
  for (const auto& change : changes) {
    verify(md5OfAbc);
    ASSERT_NE(model_->verify()->verifyResult(), std::nullopt);
    change();
    EXPECT_EQ(model_->verify()->verifyResult(), std::nullopt);
  }
}

TEST_F(VerifyFlow, RunningOneRefusesAnotherFileAndAnotherStart) {
  holdAt("read", 1);
  model_->verify()->setExpectedHash(QString::fromStdString(md5OfAbc));
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

class CompareFlow : public ModelTest {
 protected:
  void compare(const fs::path& first, const fs::path& second) {
    model_->compare()->setCompareFiles({urlOf(first), urlOf(second)}, false);
    model_->compare()->compare();
    ASSERT_TRUE(reached([this] { return !model_->compare()->isComparing(); }));
  }
};

TEST_F(CompareFlow, ResultIsToldInWordsAndExactNumbers) {
  const auto file = folder_.file("a", std::string(5000, 'x'));
  const struct {
    fs::path second;
    FileComparisonResult result;
    const char* title;
    QStringList details;
  } cases[] = {
      {folder_.file("same", std::string(5000, 'x')), FileComparison::Identical{}, "Files are identical", {}},
      {folder_.file("differs", std::string(4999, 'x') + "y"),
       FileComparison::ContentMismatch{4999},
       "Files are different",
       {"First difference at byte 4999", "Hexadecimal: 0x1387"}},
      {folder_.file("longer", std::string(5001, 'x')),
       FileComparison::DifferentSize{5000, 5001},
       "Files are different",
       {"Different sizes — A: 5,000 bytes, B: 5,001 bytes", "The difference is 1 byte."}},
      {folder_.file("shortest", "x"),
       FileComparison::DifferentSize{5000, 1},
       "Files are different",
       {"Different sizes — A: 5,000 bytes, B: 1 byte", "The difference is 4,999 bytes."}},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.second);
    compare(file, test.second);
    EXPECT_EQ(model_->compare()->compareResult(), test.result);
    const QVariantMap shown = model_->compare()->compareResultForScreen();
    EXPECT_EQ(shown.value(QStringLiteral("title")), test.title);
    EXPECT_EQ(shown.value(QStringLiteral("details")).toStringList(), test.details);
    EXPECT_EQ(model_->unseenOutcome(AppMode::Compare), test.details.isEmpty() ? Outcome::AllWell : Outcome::SomeFailed);
  }
  model_->compare()->swapCompareFiles();
  EXPECT_EQ(model_->compare()->compareResult(), std::nullopt) << "It was about the other order";
  EXPECT_EQ(model_->compare()->compareSecondURL(), file);
  compare(file, file);
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
  model_->compare()->setCompareFiles({urlOf(first), urlOf(second)}, false);
  holdAt("read", 1);
  model_->compare()->compare();
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
