#include "app/tasks/WeakAppViewModelReference.h"

#include <utility>

namespace tallyfold {

namespace {

constexpr int framePeriod = 16;  // Milliseconds.

}  // namespace

WeakAppViewModelReference::WeakAppViewModelReference(AppViewModel& value)
    : value_(&value), inbox_(std::make_unique<InterfaceInbox>(framePeriod)) {}

WeakAppViewModelReference::~WeakAppViewModelReference() = default;

void WeakAppViewModelReference::post(Message message) {
  const std::lock_guard lock(mutex_);
  if (value_ == nullptr) return;
  inbox_->post([&model = *value_, message = std::move(message)] { message(model); });
}

void WeakAppViewModelReference::reset() {
  {
    const std::lock_guard lock(mutex_);
    value_ = nullptr;
  }
  inbox_.reset();
}

}  // namespace tallyfold
