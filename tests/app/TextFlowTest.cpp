#include "tests/app/ModelTest.h"
#include "tests/support/Process.h"

namespace tallyfold::test {

namespace {

class TextFlow : public ModelTest {
 protected:
  bool hashesCome() {
    return reached([this] { return !model_->text()->textHashes().algorithms().empty(); });
  }

  [[nodiscard]] std::string digest(HashAlgorithm algorithm) {
    return std::string(model_->text()->textHashes().find(algorithm).value_or("none"));
  }
};

TEST_F(TextFlow, BurstOfEditsIsHashedOnceAndCountedAtOnce) {
  std::vector<std::size_t> sizes;
  QObject::connect(model_->text(), &tallyfold::TextFlow::textHashesChanged,
                   [&] { sizes.push_back(model_->text()->textHashes().size()); });
  const QString text = QStringLiteral("caf\u00e9!");
  for (qsizetype length = 1; length <= text.size(); ++length) {
    model_->text()->setTextInput(text.left(length));
    EXPECT_EQ(model_->text()->textUTF8ByteCount(), text.left(length).toUtf8().size());
  }
  // Another may be as much as a twentieth late.
  EXPECT_EQ(model_->text()->findChild<QTimer*>()->timerType(), Qt::PreciseTimer);
  ASSERT_TRUE(hashesCome());
  EXPECT_EQ(sizes, (std::vector<std::size_t>{0, 0, 0, 0, 0, 2}));
  const auto file = folder_.file("text", text.toStdString());
  EXPECT_EQ(digest(HashAlgorithm::sha256), outputOf({"sha256sum", file}).substr(0, 64));
}

TEST_F(TextFlow, EditWinsOverTheLargeTextInFlight) {
  model_->choosePreset(AppViewModel::AllAlgorithms);
  QSignalSpy changes(model_->text(), &tallyfold::TextFlow::textHashesChanged);
  desktop_.otherProgramsText = QString(64 << 20, u'x');
  model_->text()->pasteText();
  EXPECT_EQ(model_->text()->textUTF8ByteCount(), 64 << 20);
  ASSERT_TRUE(reached([&] { return model_->text()->isTextHashing(); }));
  EXPECT_TRUE(BackgroundTask::waitForAll(patience)) << "its digests are on their way";
  model_->text()->setTextInput(QStringLiteral("abc"));
  ASSERT_TRUE(hashesCome());
  EXPECT_EQ(digest(HashAlgorithm::md5), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(changes.count(), 3) << "two edits and one set of digests";
}

TEST_F(TextFlow, ErasedTextHasTheDigestsOfNoBytes) {
  model_->text()->setTextInput(QStringLiteral("x"));
  EXPECT_EQ(model_->text()->textSize(), QStringLiteral("1 byte (UTF-8)"));
  model_->text()->setTextInput({});
  EXPECT_EQ(model_->text()->textUTF8ByteCount(), 0);
  ASSERT_TRUE(hashesCome());
  EXPECT_EQ(digest(HashAlgorithm::sha256), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

}  // namespace

}  // namespace tallyfold::test
