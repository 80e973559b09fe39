#ifndef GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_FILL_H
#define GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_FILL_H

#include <cstdint>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

namespace gcuschema::test {

// Floats and doubles at the edges of what JSON and text spell: zeros of
// both signs, the plain NaN, infinities, extremes, subnormals, integers
// beyond the mantissa.
const std::vector<float>& EdgeFloats();
const std::vector<double>& EdgeDoubles();

// Sets every field of `record`: singular fields to a value chosen by
// `seed` (edge values among them), lists to several values including
// every edge value, sub-records in turn down to `depth`.
void Fill(google::protobuf::Message* record, std::uint32_t seed, int depth = 3);

// Every record of every schema file of the library, nested ones included.
std::vector<const google::protobuf::Descriptor*> EveryRecord();

}  // namespace gcuschema::test

#endif
