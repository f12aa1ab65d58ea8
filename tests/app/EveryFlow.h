#pragma once

#include "tests/app/ModelTest.h"

namespace tallyfold::test {

/// How a user works with one flow.
struct Flow {
  QObject* object = nullptr;
  const char* announcement;  ///< Its signal, whenever there is an outcome.
  std::function<void()> prepare = [] {};
  std::function<void()> start;
  std::function<void()> cancel;
  std::function<bool()> isBusy;
  /// Whether a start that nobody cancelled has come to what it should.
  std::function<bool()> isRight;
  /// What it refuses while it is busy.
  std::function<void()> disturb = [] {};
  std::string_view call = {};  ///< The first one of this name can fail the flow, and it says so.
  std::string sentence = "Input/output error";
  bool isBusyWhenCancelled = true;
  unsigned models = 8;      ///< At once.
  unsigned longest = 1000;  ///< Microseconds between two things that the user does.
};

/// A model, and what each of its flows needs to be used in the same way as all others.
class EveryFlow : public ModelTest {
 protected:
  EveryFlow() {
    fs::resize_file(large_, 12 << 20);
    fs::copy_file(large_, copy_);
    comparison_ = HashService::compareFilesKeepingVersions(large_, other_, {}, [](double) {});
    fs::create_directory(root_);
    fs::create_directory(reports_);
    folder_.file("root/unlisted", "");
    std::ofstream lines(list_);
    lines << "ffffffff  missing\n";
    for (int i = 0; i < 50; ++i) {
      lines << "352441c2  " << folder_.file("root/" + std::to_string(i), "abc").filename().string() << '\n';
    }
  }

  void TearDown() override {
    ModelTest::TearDown();
    // Whole reports, and nothing that they were made of.
    for (const auto& entry : fs::directory_iterator(reports_)) {
      EXPECT_THAT(contentOf(entry), testing::ContainsRegex("BLAKE3(.|\n)*,(3|\"49\",,)$")) << entry;
    }
  }

  /// Why the last start failed; empty when it did not.
  static std::string told(AppViewModel& model) {
    if (!model.errorMessage().isEmpty()) return model.errorMessage().toStdString();
    if (!model.text()->textError().isEmpty()) return model.text()->textError().toStdString();
    const std::string audited = model.audit()->sentence().toStdString();
    if (const auto colon = audited.find(": "); colon != audited.npos) return audited.substr(colon + 2);
    const auto& result = model.verify()->verifyResult();
    const auto* failed = result ? std::get_if<Verification::Error>(&*result) : nullptr;
    return failed == nullptr ? "" : failed->message;
  }

  void startAndWait(const Flow& flow) {
    flow.start();
    ASSERT_TRUE(flow.isBusy());
    // What a verification left to be looked for makes calls, too.
    ASSERT_TRUE(reached([&] { return !flow.isBusy() && !model_->audit()->isLooking(); }));
  }

  const fs::path small_ = folder_.file("small", "abc");
  const fs::path large_ = folder_.file("large", "");
  const fs::path copy_ = folder_.path() / "copy";
  const fs::path other_ = folder_.file("other", std::string(12 << 20, 'x'));
  const fs::path list_ = folder_.path() / "list";
  const fs::path root_ = folder_.path() / "root";
  const fs::path reports_ = folder_.path() / "reports";
  const QString text_ = QString(1 << 20, u'x');
  FileComparisonWithVersions comparison_;
  std::mt19937 random_{seedOfThisRun()};

  /// For as long as the model lives.
  std::map<std::string, Flow> flowsOf(AppViewModel& model) {
    auto& files = *model.files();
    auto& text = *model.text();
    auto& verify = *model.verify();
    auto& compare = *model.compare();
    auto& differences = *compare.differences();
    auto& manifest = *model.manifest();
    const auto takeOtherFiles = [&] {
      compare.setCompareFiles({urlOf(small_)}, false);
      compare.swapCompareFiles();
      compare.chooseCompareFile(true);
    };
    const auto takeAnotherList = [&] {
      manifest.setManifestFile({urlOf(small_)});
      manifest.dropManifest({urlOf(small_), urlOf(folder_.path() / "")});
      manifest.chooseManifestFile();
    };
    const auto verifyList = [&] {
      manifest.dropManifest({urlOf(list_), urlOf(root_ / "")});
      ASSERT_TRUE(reached([&] { return !manifest.isLoadingManifest(); }));
      manifest.verifyManifest();
      ASSERT_TRUE(reached([&] { return !manifest.isManifestVerifying() && !model.audit()->isLooking(); }));
    };
    const auto takeList = [&] {
      manifest.dropManifest({urlOf(list_), urlOf(root_ / "")});
      ASSERT_TRUE(reached([&] { return !manifest.isLoadingManifest(); }));
    };
    return {
        {"Files",
         {.object = &files,
          .announcement = SIGNAL(resultsChanged()),
          .prepare =
              [&] {
                files.addFiles({urlOf(small_), urlOf("/nowhere"), urlOf(large_)});
              },
          .start = [&] { files.startProcessing(); },
          .cancel = [&] { files.cancelProcessing(); },
          .isBusy = [&] { return files.isProcessing(); },
          .isRight = [&] { return files.results().size() == 2 && files.overallProgress() == 1; }}},
        {"Text",
         {.object = &text,
          .announcement = SIGNAL(textHashesChanged()),
          .prepare = [&] { text.setTextInput(text_); },
          .start = [&] { text.updateTextHash(); },
          .cancel = [&] { model.shutdown(); },
          .isBusy = [&] { return text.textHashes().algorithms().empty() && told(model).empty(); },
          .isRight = [&] { return text.textHashes().algorithms() == model.selectedAlgorithms(); },
          .isBusyWhenCancelled = false,
          .models = 16,
          .longest = 10'000}},
        {"Verify",
         {.object = &verify,
          .announcement = SIGNAL(verifyResultChanged()),
          .prepare =
              [&] {
                verify.setVerifyFile({urlOf(large_)});
                verify.setExpectedHash(QStringLiteral("352441c2"));
              },
          .start = [&] { verify.verify(); },
          .cancel = [&] { verify.resetVerification(); },
          .isBusy = [&] { return verify.isVerifying(); },
          .isRight = [&] { return std::holds_alternative<Verification::Mismatch>(*verify.verifyResult()); },
          .disturb = [&] { verify.setVerifyFile({urlOf("/elsewhere")}); },
          .call = "read"}},
        {"Compare",
         {.object = &compare,
          .announcement = SIGNAL(compareResultChanged()),
          .prepare =
              [&] {
                compare.setCompareFiles({urlOf(large_), urlOf(copy_)}, false);
              },
          .start = [&] { compare.compare(); },
          .cancel = [&] { compare.resetComparison(); },
          .isBusy = [&] { return compare.isComparing(); },
          .isRight = [&] { return compare.compareResult() == FileComparisonResult(FileComparison::Identical()); },
          .disturb = takeOtherFiles,
          .call = "open"}},
        {"Count",
         {.object = &differences,
          .announcement = SIGNAL(changed()),
          .start =
              [&] {
                if (!differences.isWorking()) differences.setComparison(large_, other_, comparison_);
                differences.start();
              },
          .cancel = [&] { differences.cancel(); },
          .isBusy = [&] { return compare.isBusy(); },
          .isRight = [&] { return differences.answers().value(0).startsWith("12,582,912 bytes differ, in one run."); },
          .disturb = takeOtherFiles,
          .call = "open"}},
        {"List",
         {.object = &manifest,
          .announcement = SIGNAL(manifestLinesChanged()),
          .start = [&] { manifest.setManifestFile({urlOf(list_)}); },
          .cancel = [&] { manifest.cancelManifest(); },
          .isBusy = [&] { return manifest.isLoadingManifest(); },
          .isRight = [&] { return manifest.manifestJobs()->total() == 51; },
          .disturb = takeAnotherList,
          .call = "read"}},
        {"Manifest",
         {.object = &manifest,
          .announcement = SIGNAL(manifestProgressChanged()),
          .prepare = takeList,
          .start = [&] { manifest.verifyManifest(); },
          .cancel = [&] { manifest.cancelManifestVerification(); },
          .isBusy = [&] { return manifest.isManifestVerifying(); },
          .isRight = [&] { return manifest.manifestMatchedCount() == 50; },
          .disturb = takeAnotherList,
          .call = "stat",
          .sentence = "The selected manifest root is not an accessible directory."}},
        {"Audit",
         {.object = model.audit(),
          .announcement = SIGNAL(changed()),
          .prepare = verifyList,
          .start = [&] { model.audit()->look(manifest.verifiedList()); },
          .cancel = [&] { model.audit()->cancel(); },
          .isBusy = [&] { return model.audit()->isLooking(); },
          .isRight = [&] { return model.audit()->sentence() == "1 file in the folder is not in the list."; },
          .call = "open"}},
        {"Moved",
         {.object = model.audit(),
          .announcement = SIGNAL(notesChanged()),
          .prepare = verifyList,
          .start = [&] { model.audit()->findMoved(); },
          .cancel = [&] { model.audit()->cancel(); },
          .isBusy = [&] { return model.audit()->isSearching(); },
          .isRight =
              [&] { return model.audit()->sentence().endsWith(" The missing file is none of the unlisted ones."); },
          .call = "open"}},
        {"Export",
         {.object = &model,
          .announcement = SIGNAL(errorMessageChanged()),
          .prepare =
              [&] {
                files.addDroppedFiles({urlOf(small_)});
                ASSERT_TRUE(reached([&] { return !files.isProcessing(); }));
              },
          .start =
              [&] {
                files.exportResults(FilesFlow::Csv);
                if (desktop_.savePanel) desktop_.confirmSavePanel(urlOf(reports_ / std::to_string(random_() % 4)));
              },
          .cancel = [&] { files.cancelExport(); },
          .isBusy = [&] { return files.isExporting(); },
          .isRight = [&] { return model.errorMessage().isEmpty(); },
          .call = "fsync"}},
        {"Proof",
         {.object = &model,
          .announcement = SIGNAL(errorMessageChanged()),
          .prepare = verifyList,
          .start =
              [&] {
                manifest.manifestExport()->save(ManifestExport::Csv);
                if (desktop_.savePanel) desktop_.confirmSavePanel(urlOf(reports_ / std::to_string(random_() % 4)));
              },
          .cancel = [&] { manifest.manifestExport()->cancel(); },
          .isBusy = [&] { return manifest.manifestExport()->isSaving(); },
          .isRight = [&] { return model.errorMessage().isEmpty(); },
          .call = "fsync"}},
    };
  }

  std::map<std::string, Flow> flows_ = flowsOf(*model_);
};

}  // namespace tallyfold::test
