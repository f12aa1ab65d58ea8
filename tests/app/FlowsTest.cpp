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
const std::string sha1OfAbc = "a9993e364706816aba3e25717850c26c9cd0d89d";
const std::string sha256OfAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
const std::string blake3OfAbc = "6437b3ac38465133ffb63b75273a8db548c558465d79db03fd359c6cd5bd9d85";

class VerifyFlow : public ModelTest {
 protected:
  void SetUp() override { model_->verify()->setVerifyFile({urlOf(file_)}); }

  void verify(const std::string& pasted) {
    model_->verify()->setExpectedHash(QString::fromStdString(pasted));
    model_->verify()->verify();
    ASSERT_TRUE(reached([this] { return !model_->verify()->isVerifying(); }));
  }

  [[nodiscard]] VerifyVerdict shown() { return model_->verify()->verifyResultForScreen(); }

  const fs::path file_ = folder_.file("abc.txt", "abc");
};

TEST_F(VerifyFlow, WhatPeoplePasteIsUnderstoodAndToldInWords) {
  using namespace Verification;
  const struct {
    std::string pasted;
    VerificationResult result;
    const char* title;
    const char* details = "";
    const char* algorithm = "";
    const char* chosen = "Auto";
  } cases[] = {
      {"not a checksum", InvalidExpectedHash{}, "Not verified", "Invalid or unsupported checksum format."},
      {sha256OfAbc, AmbiguousExpectedHash{}, "Not verified",
       "64-character digests can be SHA-256 or BLAKE3. Choose the algorithm from the menu."},
      {sha256OfAbc, Match{HashAlgorithm::sha256, sha256OfAbc}, "Match", "", "SHA-256", "SHA-256"},
      {"  0xA9993E36 4706816A BA3E2571\n7850C26C 9CD0D89D \r\n", Match{HashAlgorithm::sha1, sha1OfAbc}, "Match", "",
       "SHA-1"},
      {md5OfAbc + " *abc.txt", Match{HashAlgorithm::md5, md5OfAbc}, "Match", "", "MD5"},
      {"BLAKE3 (some file (1).iso) = " + blake3OfAbc, Match{HashAlgorithm::blake3, blake3OfAbc}, "Match", "", "BLAKE3"},
      {"SHA256 (x) = " + sha256OfAbc.substr(0, 63) + "0", Mismatch{HashAlgorithm::sha256, sha256OfAbc},
       "Checksum mismatch (SHA-256)", "", "SHA-256"},
  };
  for (const auto& [pasted, result, title, details, algorithm, chosen] : cases) {
    SCOPED_TRACE(pasted);
    model_->setMode(AppMode::Verify);
    EXPECT_EQ(model_->unseenOutcome(AppMode::Verify), Outcome::NoOutcome);
    model_->setMode(AppMode::Text);
    model_->verify()->setVerifyAlgorithm(QLatin1String(chosen));
    verify(pasted);
    EXPECT_EQ(model_->verify()->verifyResult(), result);
    EXPECT_EQ(shown().title, title);
    EXPECT_EQ(shown().details, details);
    EXPECT_EQ(calls_.names.empty(), *details != '\0') << "What is unclear is told without reading the file";
    if (calls_.names.empty()) continue;
    const bool isMatch = std::holds_alternative<Match>(result);
    EXPECT_EQ(model_->unseenOutcome(AppMode::Verify), isMatch ? Outcome::AllWell : Outcome::SomeFailed);
    EXPECT_EQ(model_->verify()->recognisedAlgorithm(), algorithm);
  }
  EXPECT_EQ(model_->verify()->verifyProgress(), 1);
  EXPECT_EQ(shown().difference, 63);
  EXPECT_EQ(shown().digests.at(1), (DigestLine{"Actual: ", QString::fromStdString(sha256OfAbc)}));
}

TEST_F(VerifyFlow, NothingIsSaidOfAnEmptyField) {
  const QSignalSpy changes(model_->verify(), &tallyfold::VerifyFlow::verifyRefusalChanged);
  for (const auto& [pasted, refusal] :
       {std::pair{"", "Paste a checksum first."}, {" \n", "Paste a checksum first."}, {"x", ""}}) {
    model_->verify()->setExpectedHash(QLatin1String(pasted));
    EXPECT_EQ(model_->verify()->verifyRefusal(), refusal);
    model_->verify()->verifyUnlessRefused();
    EXPECT_EQ(model_->verify()->verifyResult().has_value(), *refusal == '\0');
  }
  EXPECT_EQ(changes.count(), 2);
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

TEST_F(VerifyFlow, LineOfTheFileIsTakenOfWhatIsPastedDroppedOrOffered) {
  auto& flow = *model_->verify();
  const auto taken = [&] { return flow.expectedHash().toStdString(); };
  const auto notes = [&] { return (flow.verifyNotice() + "|" + flow.verifyCaution()).toStdString(); };
  const std::string line = md5OfAbc + "  ./abc.txt";
  const std::string other = sha1OfAbc + "  report.pdf";
  flow.setExpectedHash(QString::fromStdString(other + "\n" + line + "\n"));
  ASSERT_TRUE(reached([&] { return taken() == line; }));
  EXPECT_EQ(notes(), "Of 2 pasted lines, this is the one for abc.txt.|");
  const struct {
    std::string pasted;
    const char* notes;
  } cases[] = {
      {other, "|This line is for “report.pdf”."},
      {other + "\n" + other, "|None of the 2 lines is for abc.txt."},
      {line + "\n" + other + "\n" + line, "|Lines 1 and 3 are both for abc.txt."},
      {line, "|"},
      {md5OfAbc, "|"},
  };
  for (const auto& [pasted, expected] : cases) {
    flow.setExpectedHash(QString::fromStdString(pasted));
    EXPECT_EQ(notes(), expected);
    EXPECT_EQ(taken(), pasted);
  }
  flow.setExpectedHash(QString::fromStdString(other + "\n" + line));
  flow.setExpectedHash(QString::fromStdString(md5OfAbc));
  QCoreApplication::processEvents();
  EXPECT_EQ(taken(), md5OfAbc) << "What was pasted last";

  const auto list = urlOf(folder_.file("SHA256SUMS", sha256OfAbc + "  abc.txt\n" + sha1OfAbc + "  report.pdf\n"));
  const std::string listed = "SHA-256 (abc.txt) = " + sha256OfAbc;
  flow.dropVerify({list, urlOf(file_)});
  ASSERT_TRUE(reached([&] { return taken() == listed; }));
  EXPECT_EQ(notes(), "Taken from SHA256SUMS.|");
  flow.dropVerify({list, urlOf(file_)});
  flow.setExpectedHash(QString::fromStdString(sha256OfAbc));
  EXPECT_TRUE(BackgroundTask::waitForAll(patience));
  model_->text()->setTextInput(QStringLiteral("what comes behind"));
  ASSERT_TRUE(reached([&] { return !model_->text()->textHashes().algorithms().empty(); }));
  EXPECT_EQ(taken(), sha256OfAbc) << "What was pasted meanwhile";
  flow.dropVerify({urlOf(folder_.file("x.iso", "")), list});
  ASSERT_TRUE(reached([&] { return notes() == "|SHA256SUMS has no line for this file."; }));

  flow.setExpectedHash({});
  flow.dropOnField({list});
  EXPECT_EQ(flow.verifyURL(), folder_.path() / "x.iso") << "the list is not what is verified";
  ASSERT_TRUE(reached([&] { return notes() == "|SHA256SUMS has no line for this file."; }));
  flow.setVerifyFile({urlOf(file_)});
  flow.dropOnField({list});
  ASSERT_TRUE(reached([&] { return taken() == listed; }));
  flow.setVerifyFile({urlOf(folder_.path() / "x.iso")});
  EXPECT_EQ(taken() + notes(), "|") << "a line taken by the program for another file";
  const std::string pasted = other + "\n" + md5OfAbc + "  x.iso";
  flow.setExpectedHash(QString::fromStdString(pasted + "\n" + line));
  ASSERT_TRUE(reached([&] { return taken() == md5OfAbc + "  x.iso"; }));
  flow.setVerifyFile({urlOf(file_)});
  ASSERT_TRUE(reached([&] { return taken() == line; })) << "what was pasted has a line for the other file, too";
  flow.setExpectedHash({});
  flow.setVerifyFile({urlOf(file_)});
  ASSERT_TRUE(reached([&] { return flow.proposedList().name == "SHA256SUMS"; }));
  EXPECT_EQ(taken(), "") << "Offered, never taken by itself";
  flow.useProposedList();
  EXPECT_EQ(taken(), listed);
  EXPECT_FALSE(flow.proposedList().isPresent);
  flow.setExpectedHash({});
  flow.setVerifyFile({urlOf(folder_.path() / "x.iso")});
  EXPECT_FALSE(flow.proposedList().isPresent) << "What lies beside another file";
  const std::string entry = md5OfAbc + "  x.iso\n#";
  folder_.file("MD5SUMS", entry + std::string(1'048'577 - entry.size(), 'x'));
  folder_.file("checksums.txt", entry + std::string(1'048'576 - entry.size(), 'x'));
  flow.setVerifyFile({urlOf(folder_.path() / "x.iso")});
  ASSERT_TRUE(reached([&] { return flow.proposedList().isPresent; }));
  EXPECT_EQ(flow.proposedList().name, "checksums.txt") << "a list too long to be searched unasked";
}

TEST_F(VerifyFlow, ChoiceOfTheAlgorithmIsOfferedOrOverruledInWords) {
  auto& flow = *model_->verify();
  EXPECT_EQ(flow.verifyCandidates(), QStringList());
  verify(sha256OfAbc);
  EXPECT_EQ(flow.verifyCandidates(), (QStringList{"SHA-256", "BLAKE3"}));
  flow.readAs("MD5");
  EXPECT_EQ(shown().kind, VerifyVerdict::AmbiguousExpectedHash);
  flow.readAs("SHA-256");
  ASSERT_TRUE(reached([&] { return shown().kind == VerifyVerdict::Match; }));
  EXPECT_EQ(flow.recognition(), "Will be checked as SHA-256.");
  flow.setExpectedHash(QString::fromStdString(md5OfAbc));
  EXPECT_EQ(flow.recognition(), "MD5 by its length, not SHA-256.");
  flow.setExpectedHash(QString::fromStdString("MD5 (abc) = " + md5OfAbc));
  EXPECT_EQ(flow.recognition(), "MD5 by its name in the line, not SHA-256.");
}

class CompareFlow : public ModelTest {
 protected:
  /// With the blanks at which a line is not broken.
  static QString inOneLine(QString sentence) {
    return sentence.replace(QStringLiteral("counted from 0"), QStringLiteral("counted\u00A0from\u00A00"));
  }

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
       {"First difference at byte 4,999", "Counted from 0. Hexadecimal: 0x1387"}},
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
    EXPECT_EQ(model_->compare()->compareResultForScreen().title, test.title);
    EXPECT_EQ(model_->compare()->compareResultForScreen().details, test.details);
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
  EXPECT_EQ(model_->errorSubject(), "File B: missing");
  EXPECT_EQ(model_->unseenOutcome(AppMode::Compare), Outcome::SomeFailed);
}

TEST_F(CompareFlow, GoesOnWithTheFilesThatWereCompared) {
  DifferenceSearch& search = *model_->compare()->differences();
  const auto ask = [&] {
    search.start();
    model_->compare()->compare();
    model_->compare()->setCompareFiles({urlOf("/elsewhere")}, false);
    model_->compare()->swapCompareFiles();
    ASSERT_TRUE(reached([&] { return !model_->compare()->isBusy(); }));
  };
  const auto file = folder_.file("a", "0123456789\r\n\xE2\x80\xAE~z" + std::string(100'000, '.') + "end");
  compare(file, folder_.file("same", contentOf(file)));
  EXPECT_EQ(search.action() + search.rows().at(0).text, "");
  const auto b = folder_.file("b", contentOf(file).replace(12, 5, "v il\x7F").replace(5'000, 2, "!!"));
  compare(file, b);
  EXPECT_EQ(search.caption(), "Bytes 0 to 15, counted from 0");
  const ByteRows rows = search.rows().at(0);
  EXPECT_EQ(rows.text,
            "A  00000000  30 31 32 33 34 35 36 37 38 39 0d 0a e2 80 ae 7e  0123456789.....~\n"
            "B  00000000  30 31 32 33 34 35 36 37 38 39 0d 0a 76 20 69 6c  0123456789..v il\n"
            "                                                 ^^ ^^ ^^ ^^              ^^^^");
  EXPECT_EQ(rows.firstMarks, (QList{49, 50, 74, 128, 129, 153}));
  EXPECT_EQ(rows.marks.size(), 18);
  EXPECT_EQ(search.rows().at(1).text,
            "A  00000000  30 31 32 33 34 35 36 37  01234567\n"
            "B  00000000  30 31 32 33 34 35 36 37  01234567\n\n"
            "A  00000008  38 39 0d 0a e2 80 ae 7e  89.....~\n"
            "B  00000008  38 39 0d 0a 76 20 69 6c  89..v il\n"
            "                         ^^ ^^ ^^ ^^      ^^^^");
  search.copy(rows);
  EXPECT_EQ(desktop_.pasteboard, rows.text.toUtf8());
  EXPECT_EQ(search.action(), "Count All Differences");
  ask();
  EXPECT_THAT(search.answers(),
              ElementsAre(inOneLine("7 bytes differ, in 2 runs. The last of them is byte 5,001, counted from 0.")));
  EXPECT_EQ(desktop_.announced.back(), "Compare: " + search.answers().at(0).toStdString());
  EXPECT_EQ(search.action(), "");

  compare(folder_.file("beginning", contentOf(file).substr(0, 1000)), file);
  EXPECT_EQ(search.action(), "Compare the Common Part");
  ask();
  EXPECT_THAT(search.answers(), ElementsAre("A is the beginning of B."));
  EXPECT_EQ(search.action(), "");
  compare(file, folder_.file("empty", ""));
  ask();
  EXPECT_THAT(search.answers(), ElementsAre("B is empty, and an empty file is the beginning of every file."));

  compare(b, folder_.file("short", contentOf(file).substr(0, 14)));
  ask();
  EXPECT_EQ(search.rows().at(0).text,
            "A  00000000  30 31 32 33 34 35 36 37 38 39 0d 0a 76 20 69 6c  0123456789..v il\n"
            "B  00000000  30 31 32 33 34 35 36 37 38 39 0d 0a e2 80        0123456789....  \n"
            "                                                 ^^ ^^                    ^^");
  ask();
  EXPECT_THAT(
      search.answers(),
      ElementsAre(
          inOneLine("In the common part, of 14 bytes, the first difference is at byte 12, counted from 0 (0xc)."),
          inOneLine("2 bytes of the common part differ, in one run. The last of them is byte 13, counted from 0.")));

  compare(file, folder_.file("last", contentOf(file).substr(0, 1'000) + "!"));
  ask();
  EXPECT_EQ(search.answers().value(1), "Nothing else of the common part differs.");
  EXPECT_EQ(search.action() + QString::fromStdString(desktop_.announced.back()), "Compare: " + search.answers().at(0));

  compare(file, b);
  fs::resize_file(b, 5);
  ask();
  EXPECT_EQ(model_->errorMessage(), "A file has changed since the comparison. Compare the files again.");
  EXPECT_EQ(model_->errorSubject(), "File B: b");
  EXPECT_EQ(desktop_.announced.back(), "Compare: ");
  EXPECT_EQ(search.action(), "Count All Differences");
  model_->compare()->swapCompareFiles();
  EXPECT_EQ(search.action() + search.caption(), "") << "of the other order";
}

}  // namespace

}  // namespace tallyfold::test
