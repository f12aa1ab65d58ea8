#include "tests/app/ModelTest.h"
#include "tests/support/ThreadLimit.h"

namespace tallyfold::test {

namespace {

namespace fs = std::filesystem;

using Alert = ModelTest;

TEST_F(Alert, SaysWhatTheSystemSaysAndGoesWithTheNextStart) {
  const fs::path file = folder_.file("file", "abc");
  const fs::path list = folder_.file("list.md5", "900150983cd24fb0d6963f7d28e17f72  file\n");
  add({file});
  run();
  model_->verify()->setVerifyFile({urlOf(file)});
  model_->verify()->setExpectedHash(QStringLiteral("900150983cd24fb0d6963f7d28e17f72"));
  model_->compare()->setCompareFiles({urlOf(file), urlOf(list)}, false);
  model_->manifest()->setManifestRoot({urlOf(folder_.path())});
  const auto alert = [this] { return model_->errorMessage().toStdString(); };
  const std::string diskError = "Input/output error";
  const struct {
    std::string_view call;  // Its first call of this name fails.
    std::function<void()> start;
    std::function<bool()> isRunning;
    std::function<std::string()> told;
    std::string sentence;
  } flows[]{
      {"open", [&] { model_->compare()->compare(); }, [&] { return model_->compare()->isComparing(); }, alert,
       diskError},
      {"read", [&] { model_->manifest()->setManifestFile({urlOf(list)}); },
       [&] { return model_->manifest()->isLoadingManifest(); }, alert, diskError},
      {"stat", [&] { model_->manifest()->verifyManifest(); }, [&] { return model_->manifest()->isManifestVerifying(); },
       alert, "The selected manifest root is not an accessible directory."},
      {"fsync",
       [&] {
         model_->files()->exportResults(FilesFlow::Csv);
         desktop_.confirmSavePanel(urlOf(folder_.path() / "report"));
       },
       [&] { return model_->files()->isExporting(); }, alert, diskError},
      {"read", [&] { model_->verify()->verify(); }, [&] { return model_->verify()->isVerifying(); },
       [&] {
         const QVariantMap result = model_->verify()->verifyResultForScreen();
         const std::string details = result.value(QStringLiteral("details")).toString().toStdString();
         return details.starts_with("MD5") ? "" : details;
       },
       diskError},
  };
  for (const auto& flow : flows) {
    {
      const NoThreads refused;
      flow.start();
      ASSERT_TRUE(flow.isRunning());
      ASSERT_TRUE(reached([&] { return !flow.isRunning(); }));
    }
    EXPECT_EQ(flow.told(), Workers::Refusal().what()) << flow.call;
    EXPECT_EQ(model_->files()->results().size(), 1U);
    for (const int error : {EIO, 0}) {
      SCOPED_TRACE(std::string(flow.call) + ": " + std::strerror(error));
      calls_.before = [&, isDone = false](std::string_view call, std::size_t) mutable {
        return call == flow.call && !std::exchange(isDone, true) ? error : 0;
      };
      flow.start();
      ASSERT_TRUE(flow.isRunning());
      ASSERT_TRUE(reached([&] { return !flow.isRunning(); }));
      EXPECT_EQ(flow.told(), error == 0 ? "" : flow.sentence);
      EXPECT_EQ(calls_.stillOpen, 0);
    }
  }
}

}  // namespace

}  // namespace tallyfold::test
