// SPDX-License-Identifier: MIT
#include "integrations/server/page/notes.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace orvik::server {
namespace {

constexpr std::chrono::milliseconds kQuiet{600};

}  // namespace

void Notes::addSoon(const std::string& who, const std::string& subject, std::string text) {
  const std::scoped_lock lock(mutex_);
  const auto same = std::find_if(notes_.begin(), notes_.end(), [&](const Note& note) {
    return note.who == who && note.subject == subject;
  });
  Note& note = same == notes_.end() ? notes_.emplace_back() : *same;
  note = {who, subject, std::move(text), Clock::now()};
}

void Notes::flush(Clock::time_point now, bool all) {
  std::vector<Note> due;
  {
    const std::scoped_lock lock(mutex_);
    const auto later = std::stable_partition(notes_.begin(), notes_.end(), [&](const Note& note) {
      return all || now - note.time >= kQuiet;
    });
    due.assign(std::make_move_iterator(notes_.begin()), std::make_move_iterator(later));
    notes_.erase(notes_.begin(), later);
  }
  for (Note& note : due) camera_->note(std::move(note.who), std::move(note.text));
}

}  // namespace orvik::server
