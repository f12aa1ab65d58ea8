// Random scripts of what a user does with the queue, also in mid-run. After each step, all that the model shows of it
// is compared with a reference that only knows what each step means.

#include <set>

#include <QAbstractItemModelTester>

#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

/// A file that may be queued, and why hashing it fails; empty when it does not.
struct File {
  fs::path path;
  std::string failure;
};

/// Plays a script on a model of its own, and says what is wrong with it.
class Player {
 public:
  explicit Player(const std::vector<File>& files) : files_(files) {}
  ~Player() {
    model_.reset();
    EXPECT_TRUE(BackgroundTask::waitForAll(patience));
  }
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  /// What was played and what is wrong after it; empty when nothing is.
  std::string play(std::mt19937& random, int steps) {
    // Some come more often.
    static const std::vector<std::string> verbs{
        "add",  "add",    "drop", "remove", "remove", "clear", "cancel", "start", "algorithms", "turn",        "turn",
        "turn", "finish", "show", "show",   "add",    "show",  "mark",   "mark",  "mark",       "removeMarked"};
    for (std::string script; steps > 0; --steps) {
      const std::string& verb = verbs[random() % verbs.size()];
      const auto argument = static_cast<unsigned>(random());
      script += verb + ' ' + std::to_string(argument) + ", ";
      if (isRunning_) ++stepsInMidRun;
      take(verb, argument);
      observe();
      if (!complaint_.empty()) return script + complaint_;
    }
    return {};
  }

  int stepsInMidRun = 0;

 private:
  struct Row {
    std::size_t file;
    Uuid id;
    bool isFinished = false;
    bool isMarked = false;
  };

  void take(const std::string& verb, unsigned argument) {
    if (verb == "add" || verb == "drop") {
      QList<QUrl> urls{QUrl(QStringLiteral("https://example.org/a")), QUrl(QStringLiteral("file:///t/"))};
      const std::size_t before = rows_.size();
      for (std::size_t i = 0; i < files_.size(); ++i) {
        if ((argument >> (i % 16) & 1U) == 0) continue;
        urls.append(urlOf(files_[i].path));
        if (isRunning_) continue;
        if (rows_.size() == FilesFlow::queueLimit) {
          isLimitShown_ = true;  // Whatever comes when the queue is full.
        } else if (queued_.insert(i).second) {
          rows_.push_back({i, {}});
        }
      }
      const bool isDrop = verb == "drop";
      isDrop ? model_->files()->addDroppedFiles(urls) : model_->files()->addFiles(urls);
      for (std::size_t row = before; row < rows_.size(); ++row) {
        rows_[row].id = model_->files()->jobs()->jobs()[row].id;
      }
      const bool isLimited = isLimitShown_;
      if (rows_.size() > before) processed_ = total_ = 0;
      if (isDrop && rows_.size() > before) begin();
      isLimitShown_ = isLimited;
    } else if (verb == "remove") {
      const std::size_t row = argument % (rows_.size() + 1);
      const bool isKnown = row < rows_.size();
      model_->files()->removeJob(isKnown ? rows_[row].id : Uuid::random());
      if (isRunning_ || !isKnown) return;
      queued_.erase(rows_[row].file);
      rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(row));
      if (rows_.empty()) processed_ = total_ = 0;
    } else if (verb == "mark") {
      FileJobListModel& jobs = *model_->files()->jobs();
      const int first = static_cast<int>(argument % 13);
      const int last = static_cast<int>(argument / 16 % 13);
      const bool isRange = argument % 5 == 0;
      isRange ? jobs.markOnly(first, last) : jobs.toggleMark(first, last);
      if (!isRange && first >= jobs.count()) return;
      const bool isFirstMark = std::ranges::none_of(rows_, &Row::isMarked);
      for (Row& row : rows_) {
        int at = 0;
        while (at < jobs.count() && jobs.idAt(at) != row.id) ++at;
        const bool isShown = at < jobs.count();
        if (isRange) row.isMarked = isShown && at >= std::min(first, last) && at <= std::max(first, last);
        if (!isRange && isShown && at == first) row.isMarked = !row.isMarked;
        if (!isRange && isShown && at == last && isFirstMark) row.isMarked = true;
      }
    } else if (verb == "removeMarked") {
      model_->files()->removeMarked();
      if (isRunning_) return;
      for (const Row& row : rows_) {
        if (row.isMarked) queued_.erase(row.file);
      }
      std::erase_if(rows_, [](const Row& row) { return row.isMarked; });
      if (rows_.empty()) processed_ = total_ = 0;
    } else if (verb == "clear") {
      model_->files()->clearFiles();
      rows_.clear();
      queued_.clear();
      isCancelled_ = true;
      processed_ = total_ = 0;
    } else if (verb == "cancel") {
      model_->files()->cancelProcessing();
      if (isRunning_) isCancelled_ = true;
    } else if (verb == "start") {
      model_->files()->startProcessing();
      begin();
    } else if (verb == "algorithms") {
      const std::array<HashAlgorithmSet, 3> sets{HashAlgorithmSet{}, {HashAlgorithm::crc32}, HashAlgorithmSet::all()};
      model_->setSelectedAlgorithms(sets.at(argument % 3));
      if (!isRunning_) algorithms_ = sets.at(argument % 3);
    } else if (verb == "show") {
      model_->files()->jobs()->setFilter(static_cast<int>(argument % 4));
      model_->files()->jobs()->setSearch(QString::fromLatin1(std::array{"", "I", "1"}.at(argument / 4 % 3)));
    } else if (verb == "turn") {
      const QDeadlineTimer end(argument % 20);
      do QCoreApplication::processEvents();
      while (!end.hasExpired());
    } else {
      require(reached([this] { return !model_->files()->isProcessing(); }), "the run never ends");
    }
  }

  void begin() {
    if (isRunning_ || rows_.empty() || algorithms_.empty()) return;
    isRunning_ = true;
    isCancelled_ = isLimitShown_ = false;
    processed_ = 0;
    total_ = rows_.size();
    for (Row& row : rows_) row.isFinished = false;
  }

  /// What the workers did meanwhile is all that the reference learns from the model: which rows of a run are finished,
  /// and that the run has ended. Everything else must be as the reference has it.
  void observe() {
    const auto& jobs = model_->files()->jobs()->jobs();
    require(jobs.size() == rows_.size(), "the number of jobs");
    if (jobs.size() != rows_.size()) return;
    const bool isAlive = isRunning_ && !isCancelled_;
    std::vector<Uuid> results;
    std::size_t finished = 0;
    bool isFront = isAlive;  // Until the first row that is not finished.
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      Row& row = rows_[i];
      const File& file = files_[row.file];
      const FileJob& job = jobs[i];
      require(job.id == row.id && *job.url == file.path, "a job is not in its place");
      const auto* failed = std::get_if<FileJob::Failed>(&job.state);
      const bool isFinished = failed != nullptr || std::holds_alternative<FileJob::Complete>(job.state);
      require(!isFinished || (failed == nullptr ? "" : failed->message) == file.failure, "a wrong outcome");
      if (isFront && isFinished) row.isFinished = true;
      require(isFinished == row.isFinished, "a job is finished out of its turn, or no more");
      require(isFinished || std::holds_alternative<FileJob::Queued>(job.state) || isFront, "two jobs are under way");
      isFront = isFront && isFinished;
      if (isFinished) ++finished;
      const bool hasResult = isFinished && failed == nullptr;
      if (hasResult) results.push_back(row.id);
      const auto result = model_->files()->result(row.id);
      require((result != nullptr) == hasResult && (!hasResult || result->url == file.path), "the result of a job");
    }
    if (isAlive) processed_ = finished;
    observeShown();
    require(
        std::ranges::equal(results, model_->files()->results(), {}, {}, [](const auto& result) { return result->id; }),
        "the results");
    if (isRunning_ && !model_->files()->isProcessing()) {
      isRunning_ = false;
      require(isCancelled_ || processed_ == total_, "a run ended early");
    }
    require(model_->files()->isProcessing() == isRunning_, "a run that nobody started");
    require(model_->files()->processedCount() == static_cast<int>(processed_), "the count of finished files");
    const double progress = total_ == 0 ? 0 : static_cast<double>(processed_) / static_cast<double>(total_);
    require(model_->files()->overallProgress() == progress, "the progress");
    // Of the rows that are left: those that are gone are none of what the verdict speaks of.
    const std::size_t told = total_ > 0 ? finished : 0;
    require(model_->files()->runFigure() == QStringLiteral("%1 of %2").arg(told).arg(rows_.size()), "the figure");
    require(model_->selectedAlgorithms() == algorithms_, "the selection");
    require(model_->errorMessage().isEmpty() != isLimitShown_, "an error");
    require(model_->files()->startRefusal().isEmpty() == !(isRunning_ || rows_.empty() || algorithms_.empty()),
            "the refusals");
    require(model_->files()->queueRefusal().isEmpty() != isRunning_, "the refusal of changes");
    // The index: any job is found by its id, and none that is gone.
    for (const Uuid& id : {rows_.empty() ? Uuid() : rows_[processed_ % rows_.size()].id, Uuid()}) {
      desktop_.pasteboard.reset();
      model_->files()->copyPath(id);
      const auto row = std::ranges::find(rows_, id, &Row::id);
      require(
          desktop_.pasteboard ==
              (row == rows_.end() ? std::nullopt : std::optional(QByteArray::fromStdString(files_[row->file].path))),
          "the index");
    }
  }

  void observeShown() {
    const FileJobListModel& model = *model_->files()->jobs();
    // The end of a run leaves a filter that nothing passes any more: none of the marked rows was shown until then.
    if (isRunning_ && !model_->files()->isProcessing() && model.filter() != filter_) {
      for (Row& row : rows_) row.isMarked = false;
    }
    filter_ = model.filter();
    const std::map<int, std::string> passing{{0, "0123"}, {1, "3"}, {2, "01"}, {3, "2"}};
    std::vector<Uuid> expected;
    for (const FileJob& job : model.jobs()) {
      const bool isFound = QString::fromStdString(job.url->filename()).contains(model.search(), Qt::CaseInsensitive);
      if (isFound && passing.at(model.filter()).find(std::to_string(job.state.index())) != std::string::npos)
        expected.push_back(job.id);
    }
    std::vector<Uuid> shown;
    for (int row = 0; row < model.rowCount(); ++row) shown.push_back(model.idAt(row));
    require(shown == expected && !model.isSearching(), "the rows shown");
    int marked = 0;
    for (Row& row : rows_) {
      const auto found = std::ranges::find(shown, row.id);
      row.isMarked = row.isMarked && found != shown.end();
      marked += row.isMarked ? 1 : 0;
      if (found == shown.end()) continue;
      require(model.isMarked(static_cast<int>(found - shown.begin())) == row.isMarked, "a mark");
    }
    require(model.markedCount() == marked, "the number of marks");
  }

  void require(bool holds, const char* what) {
    if (!holds && complaint_.empty()) complaint_ = what;
  }

  const std::vector<File>& files_;
  FakeDesktop desktop_;
  std::unique_ptr<AppViewModel> model_ = std::make_unique<AppViewModel>(desktop_);
  // It ends the program when the rows that come and go are not those that are announced.
  const QAbstractItemModelTester tester_{model_->files()->jobs(),
                                         QAbstractItemModelTester::FailureReportingMode::Fatal};
  std::string complaint_;

  std::vector<Row> rows_;
  std::set<std::size_t> queued_;
  bool isRunning_ = false;
  bool isCancelled_ = false;
  bool isLimitShown_ = false;
  int filter_ = 0;
  std::size_t processed_ = 0;
  std::size_t total_ = 0;
  HashAlgorithmSet algorithms_ = HashAlgorithm::recommended;
};

TEST(QueueScript, RandomScriptsDoWhatTheReferenceDoes) {
  const TemporaryFolder folder;
  std::vector<File> files;
  for (int i = 0; i < 10; ++i) files.push_back({folder.file(std::to_string(i), std::to_string(i)), ""});
  fs::resize_file(files[3].path, 8 << 20);
  fs::resize_file(files[7].path, 20 << 20);
  fs::create_directory(folder.path() / "folder");
  files.push_back({folder.path() / "folder", "The selected item is not a regular file."});
  files.insert(files.begin() + 5, {folder.path() / "missing", "No such file or directory"});

  std::mt19937 random(seedOfThisRun());
  const int rounds = roundsOfThisRun(12);
  int stepsInMidRun = 0;
  for (int round = 0; round < rounds; ++round) {
    Player player(files);
    ASSERT_EQ(player.play(random, 40), "");
    stepsInMidRun += player.stepsInMidRun;
  }
  std::cout << rounds << " scripts of 40 steps, " << stepsInMidRun << " of them in mid-run\n";
  // A single script may be done before any run begins.
  EXPECT_TRUE(rounds == 1 || stepsInMidRun > rounds) << stepsInMidRun;
}

}  // namespace

}  // namespace tallyfold::test
