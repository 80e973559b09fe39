// Long outputs made by several threads and written in order.
#ifndef GCUSCHEMA_DOCUMENT_IN_ORDER_H
#define GCUSCHEMA_DOCUMENT_IN_ORDER_H

#include <functional>
#include <string>

namespace gcuschema::document::internal {

// Lists of records from this many elements on are written by several
// threads when asked, in chunks of kSharedChunk records each.
inline constexpr int kSharedFrom = 4096;
inline constexpr int kSharedChunk = 1024;

// How many threads a caller's `threads` option means: 0 one per core, and
// never more than one per core.
int ThreadCount(int threads);

// Makes the text of items [0, count) in chunks of `chunk` items on up to
// `threads` threads (the calling one among them), each thread taking the
// next chunk when it is free, and hands each chunk's text to `emit` on the
// calling thread, in order; at most 2 * `threads` chunks wait to be emitted.
// make(helper, begin, end, &text) appends the text of items [begin, end);
// `helper` (0 to threads - 1) tells which thread, for state of its own; the
// calling thread is 0.
// When anything throws, the exception of the earliest chunk is rethrown
// once the other threads have stopped.
void MakeInOrder(int count, int threads, int chunk,
                 const std::function<void(int helper, int begin, int end, std::string* text)>& make,
                 const std::function<void(const std::string& text)>& emit);

}  // namespace gcuschema::document::internal

#endif
