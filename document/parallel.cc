#include "parallel.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>

#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/unknown_field_set.h>

namespace gcuschema::document::internal {

namespace pb = google::protobuf;
using pb::FieldDescriptor;

int ThreadCount(int requested) {
  if (requested > 0) return requested;
  const unsigned cores = std::thread::hardware_concurrency();
  return cores == 0 ? 1 : static_cast<int>(cores);
}

void ForEachIndex(int count, int threads, const std::function<void(int)>& work) {
  if (count <= 0) return;
  threads = std::max(1, std::min(threads, count));
  std::atomic<int> next{0};
  std::atomic<bool> failed{false};
  std::vector<std::exception_ptr> errors(count);
  auto run = [&] {
    for (int i = next.fetch_add(1); i < count; i = next.fetch_add(1)) {
      if (failed.load()) continue;
      try {
        work(i);
      } catch (...) {
        errors[i] = std::current_exception();
        failed.store(true);
      }
    }
  };
  std::vector<std::thread> helpers;
  helpers.reserve(threads - 1);
  for (int t = 1; t < threads; ++t) {
    try {
      helpers.emplace_back(run);
    } catch (const std::system_error&) {
      break;  // no more threads to be had: the ones running share the work
    }
  }
  run();
  for (std::thread& helper : helpers) helper.join();
  for (std::exception_ptr& error : errors) {
    if (error) std::rethrow_exception(error);
  }
}

void StreamUnits(int count, int threads, std::size_t first_block_size,
                 const std::function<void(int, TextPieces*)>& make, const std::function<void(TextPieces*)>& write) {
  if (count <= 0) return;
  threads = std::max(1, std::min(threads, count));
  std::mutex mutex;
  std::condition_variable made_one;
  std::vector<std::optional<TextPieces>> made(count);  // made, not yet written
  std::vector<TextPieces> written;                       // their blocks, to fill again
  std::vector<std::exception_ptr> errors(count);
  std::atomic<int> next{0};
  std::atomic<bool> failed{false};

  auto make_one = [&](int u) {
    TextPieces text(first_block_size);
    {
      std::lock_guard<std::mutex> lock(mutex);
      if (!written.empty()) {
        text.Reuse(std::move(written.back()));
        written.pop_back();
      }
    }
    try {
      make(u, &text);
    } catch (...) {
      errors[u] = std::current_exception();
      failed.store(true);
    }
    std::lock_guard<std::mutex> lock(mutex);
    made[u].emplace(std::move(text));
    made_one.notify_all();
  };
  auto help = [&] {
    for (int u = next.fetch_add(1); u < count; u = next.fetch_add(1)) {
      if (!failed.load()) make_one(u);
      else {
        std::lock_guard<std::mutex> lock(mutex);
        made[u].emplace();
        made_one.notify_all();
      }
    }
  };
  std::vector<std::thread> helpers;
  helpers.reserve(threads - 1);
  for (int t = 1; t < threads; ++t) {
    try {
      helpers.emplace_back(help);
    } catch (const std::system_error&) {
      break;  // no more threads to be had: the ones running share the work
    }
  }

  // The calling thread makes units too, and writes what is ready in order
  // between them.
  std::exception_ptr write_error;
  int flushed = 0;
  auto flush = [&](bool wait) {
    std::unique_lock<std::mutex> lock(mutex);
    while (flushed < count) {
      if (!made[flushed]) {
        if (!wait) return;
        made_one.wait(lock, [&] { return made[flushed].has_value(); });
      }
      TextPieces text = std::move(*made[flushed]);
      made[flushed].reset();
      ++flushed;
      lock.unlock();
      if (!failed.load()) {
        try {
          write(&text);
        } catch (...) {
          write_error = std::current_exception();
          failed.store(true);
        }
      }
      lock.lock();
      written.push_back(std::move(text));
    }
  };
  for (int u = next.fetch_add(1); u < count; u = next.fetch_add(1)) {
    if (!failed.load()) {
      make_one(u);
    } else {
      std::lock_guard<std::mutex> lock(mutex);
      made[u].emplace();
    }
    flush(false);
  }
  flush(true);
  for (std::thread& helper : helpers) helper.join();
  for (std::exception_ptr& error : errors) {
    if (error) std::rethrow_exception(error);
  }
  if (write_error) std::rethrow_exception(write_error);
}

bool PiecesOutput::Next(void** data, int* size) {
  std::size_t room;
  *data = out_->Grab(1, &room);
  // The stream counts in int; blocks are far smaller.
  *size = static_cast<int>(room);
  return true;
}

void PiecesOutput::BackUp(int count) { out_->Unwrite(static_cast<std::size_t>(count)); }

bool CanShare(const pb::Message& record) {
  const pb::Descriptor* type = record.GetDescriptor();
  if (type->extension_range_count() > 0 || type->options().map_entry()) return false;
  // The printer shows an Any as the record it holds, not field by field.
  if (type->full_name() == "google.protobuf.Any") return false;
  for (int i = 0; i < type->field_count(); ++i) {
    if (type->field(i)->is_map()) return false;
  }
  return true;
}

pb::Message* NewLike(const pb::Message& record) { return record.New(record.GetArena()); }

void DeleteLike(const pb::Message& record, pb::Message* made) {
  if (record.GetArena() == nullptr) delete made;
}

namespace {

// Moves the last `count` elements of a list of records to the end of the
// same list in `into`, in order; both records on one arena.
void MoveTail(pb::Message* from, pb::Message* into, const FieldDescriptor* field, int count) {
  if (count <= 0) return;
  const pb::Reflection* reflection = from->GetReflection();
  std::vector<pb::Message*> moved(count);
  for (int j = count; j-- > 0;) moved[j] = reflection->UnsafeArenaReleaseLast(from, field);
  for (pb::Message* element : moved) reflection->UnsafeArenaAddAllocatedMessage(into, field, element);
}

void AppendScalars(const pb::Message& from, pb::Message* into, const FieldDescriptor* field) {
  const pb::Reflection* r = from.GetReflection();
  const int count = r->FieldSize(from, field);
  for (int j = 0; j < count; ++j) {
    switch (field->cpp_type()) {
      case FieldDescriptor::CPPTYPE_INT32: r->AddInt32(into, field, r->GetRepeatedInt32(from, field, j)); break;
      case FieldDescriptor::CPPTYPE_INT64: r->AddInt64(into, field, r->GetRepeatedInt64(from, field, j)); break;
      case FieldDescriptor::CPPTYPE_UINT32: r->AddUInt32(into, field, r->GetRepeatedUInt32(from, field, j)); break;
      case FieldDescriptor::CPPTYPE_UINT64: r->AddUInt64(into, field, r->GetRepeatedUInt64(from, field, j)); break;
      case FieldDescriptor::CPPTYPE_FLOAT: r->AddFloat(into, field, r->GetRepeatedFloat(from, field, j)); break;
      case FieldDescriptor::CPPTYPE_DOUBLE: r->AddDouble(into, field, r->GetRepeatedDouble(from, field, j)); break;
      case FieldDescriptor::CPPTYPE_BOOL: r->AddBool(into, field, r->GetRepeatedBool(from, field, j)); break;
      case FieldDescriptor::CPPTYPE_ENUM:
        r->AddEnumValue(into, field, r->GetRepeatedEnumValue(from, field, j));
        break;
      case FieldDescriptor::CPPTYPE_STRING: r->AddString(into, field, r->GetRepeatedString(from, field, j)); break;
      case FieldDescriptor::CPPTYPE_MESSAGE: break;  // moved, never copied
    }
  }
}

}  // namespace

Lender::Lender(pb::Message* record, int shares) : record_(record) {
  const pb::Reflection* reflection = record->GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection->ListFields(*record, &fields);
  std::int64_t total = 0;
  for (const FieldDescriptor* field : fields) {
    total += field->is_repeated() ? reflection->FieldSize(*record, field) : 1;
  }
  const bool has_unknown = !reflection->GetUnknownFields(*record).empty();
  shares = std::max(1, shares);
  const std::int64_t per_share = std::max<std::int64_t>(1, (total + shares - 1) / shares);

  // Cut the fields into shares first; nothing moves until all is planned.
  std::vector<std::vector<Part>> parts(1);
  std::int64_t filled = 0;
  auto next_share = [&] {
    parts.emplace_back();
    filled = 0;
  };
  for (const FieldDescriptor* field : fields) {
    if (field->is_repeated() && field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
      const int count = reflection->FieldSize(*record, field);
      int at = 0;
      while (at < count) {
        if (filled >= per_share) next_share();
        const int take = static_cast<int>(std::min<std::int64_t>(count - at, per_share - filled));
        parts.back().push_back({field, at, at + take});
        at += take;
        filled += take;
      }
    } else {
      if (filled >= per_share) next_share();
      parts.back().push_back({field, -1, -1});
      filled += field->is_repeated() ? reflection->FieldSize(*record, field) : 1;
    }
  }
  // A list that is not cut goes whole: swapped rather than moved element
  // by element.
  for (std::vector<Part>& share : parts) {
    for (Part& part : share) {
      if (part.begin == 0 && part.end == reflection->FieldSize(*record, part.field)) part.begin = part.end = -1;
    }
  }

  holders_.reserve(parts.size());
  try {
    for (std::size_t k = 0; k < parts.size(); ++k) holders_.push_back(NewLike(*record));
  } catch (...) {
    for (pb::Message* holder : holders_) DeleteLike(*record, holder);
    throw;
  }
  parts_ = std::move(parts);

  for (std::size_t k = 0; k < parts_.size(); ++k) {
    std::vector<const FieldDescriptor*> whole;
    for (const Part& part : parts_[k]) {
      if (part.begin < 0) whole.push_back(part.field);
    }
    if (!whole.empty()) reflection->UnsafeArenaSwapFields(record_, holders_[k], whole);
  }
  // Slices from the end of each list backwards, so that each is cut from
  // the list's tail and nothing in front of it shifts.
  for (std::size_t k = parts_.size(); k-- > 0;) {
    for (std::size_t p = parts_[k].size(); p-- > 0;) {
      const Part& part = parts_[k][p];
      if (part.begin >= 0) MoveTail(record_, holders_[k], part.field, part.end - part.begin);
    }
  }
  if (has_unknown) {
    reflection->MutableUnknownFields(record_)->Swap(reflection->MutableUnknownFields(holders_.back()));
    lent_unknown_ = true;
  }
}

Lender::~Lender() { GiveBack(); }

void Lender::GiveBack() {
  const pb::Reflection* reflection = record_->GetReflection();
  if (lent_unknown_) {
    reflection->MutableUnknownFields(record_)->Swap(reflection->MutableUnknownFields(holders_.back()));
  }
  for (std::size_t k = 0; k < parts_.size(); ++k) {
    std::vector<const FieldDescriptor*> whole;
    for (const Part& part : parts_[k]) {
      if (part.begin < 0) {
        whole.push_back(part.field);
      } else {
        MoveTail(holders_[k], record_, part.field, part.end - part.begin);
      }
    }
    if (!whole.empty()) reflection->UnsafeArenaSwapFields(record_, holders_[k], whole);
  }
  for (pb::Message* holder : holders_) DeleteLike(*record_, holder);
  holders_.clear();
}

void MoveAppend(pb::Message* from, pb::Message* into) {
  const pb::Reflection* reflection = from->GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection->ListFields(*from, &fields);
  std::vector<const FieldDescriptor*> swap;
  for (const FieldDescriptor* field : fields) {
    if (!field->is_repeated()) {
      if (!reflection->HasField(*into, field)) swap.push_back(field);
    } else if (reflection->FieldSize(*into, field) == 0) {
      swap.push_back(field);
    } else if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
      MoveTail(from, into, field, reflection->FieldSize(*from, field));
    } else {
      AppendScalars(*from, into, field);
    }
  }
  if (!swap.empty()) reflection->UnsafeArenaSwapFields(from, into, swap);
  const pb::UnknownFieldSet& unknown = reflection->GetUnknownFields(*from);
  if (!unknown.empty()) reflection->MutableUnknownFields(into)->MergeFrom(unknown);
}

}  // namespace gcuschema::document::internal
