#ifndef GCUSCHEMA_DOCUMENT_SINK_H
#define GCUSCHEMA_DOCUMENT_SINK_H

#include <functional>
#include <string_view>

namespace gcuschema::document {

// Where a long output goes as it is made: called in order with consecutive
// stretches of it, each valid during the call only. A sink that throws
// stops the output; the exception reaches the caller.
using Sink = std::function<void(std::string_view text)>;

}  // namespace gcuschema::document

#endif
