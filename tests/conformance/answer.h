#ifndef GCUSCHEMA_CONFORMANCE_ANSWER_H
#define GCUSCHEMA_CONFORMANCE_ANSWER_H

#include "conformance.pb.h"

namespace gcuschema::conformance {

// The testee's answer to one request of the conformance runner: JSON read
// and written by the companion library's codec, binary by the runtime;
// text format, JSPB and what the codec does not cover answered "skipped".
::conformance::ConformanceResponse Answer(const ::conformance::ConformanceRequest& request);

}  // namespace gcuschema::conformance

#endif
