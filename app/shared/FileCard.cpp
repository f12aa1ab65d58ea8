#include "app/shared/FileCard.h"

#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <utility>

#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "app/tasks/Workers.h"
#include "core/files/Paths.h"

namespace tallyfold {

namespace {

struct Question {
  std::filesystem::path path;
  // Sets the text of whoever asked, if it still wants to know, on the interface thread.
  std::function<void(const std::optional<std::int64_t>& size)> answer;
  std::weak_ptr<QString> asker;
};

// Questions to file systems, none of which waits for another that hangs, as long as there are few of those.
class Questions {
 public:
  static Questions& shared() {
    static auto* questions = new Questions;  // Never destroyed: a thread may outlive main.
    return *questions;
  }

  void ask(Question question) {
    const std::lock_guard lock(mutex_);
    waiting_.remove_if([](const Question& other) { return other.asker.expired(); });
    waiting_.push_back(std::move(question));
    if (asking_ == ShownFileSize::mostAsking) return;
    try {
      Workers::start([this] { work(); });
      ++asking_;
    } catch (const Workers::Refusal&) {
      waiting_.back().answer(std::nullopt);
      waiting_.pop_back();
    }
  }

 private:
  void work() {
    while (auto question = next()) question->answer(lookAt(question->path).fileSize);
  }

  std::optional<Question> next() {
    const std::lock_guard lock(mutex_);
    if (waiting_.empty()) {
      --asking_;
      return std::nullopt;
    }
    Question question = std::move(waiting_.front());
    waiting_.pop_front();
    return question;
  }

  std::mutex mutex_;
  // Guarded by the mutex.
  std::list<Question> waiting_;
  int asking_ = 0;
};

}  // namespace

void ShownFileSize::ask(const std::optional<std::filesystem::path>& path) {
  text_ = nullptr;
  if (!path) return;
  text_ = std::make_shared<QString>(QChar(u'…'));
  const std::weak_ptr<QString> asker = text_;
  const auto answer = [asker, mailbox = mailbox_, announce = announce_](const std::optional<std::int64_t>& size) {
    mailbox->post([asker, announce, size] {
      const auto text = asker.lock();
      if (!text) return;
      *text = size ? formattedByteCount(*size) : QString();
      announce();
    });
  };
  Questions::shared().ask({*path, answer, asker});
}

FileCard fileCard(const std::optional<std::filesystem::path>& path, const QString& size) {
  if (!path) return {};
  return {.isPresent = true,
          .name = displayText(path->filename()),
          .folder = displayText(path->parent_path()),
          .size = size};
}

}  // namespace tallyfold
