#ifndef GCUSCHEMA_DOCUMENT_CANONICAL_H
#define GCUSCHEMA_DOCUMENT_CANONICAL_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <google/protobuf/message.h>

#include <gcuschema/document/export.h>

namespace gcuschema::document {

// How encoded bytes differ from the encoding of the record read from them:
// what writing the record back (encode, or any program saving it) changes.
struct EncodingDifference {
  // The first byte that differs, counted from the start of the bytes read
  // (the end of the shorter when one is the start of the other).
  std::size_t offset = 0;
  std::size_t size = 0;            // bytes read
  std::size_t canonical_size = 0;  // bytes the record writes
  // The field where the cause stands ("inputs[3].minValue"; empty for the
  // record itself) and the byte of the input it changes first.
  std::string path;
  std::size_t cause_offset = 0;
  // Why the record writes other bytes: "version is given twice, the earlier
  // value 3 is dropped", "inputs[3].minValue holds -0.0, which the records
  // do not write", "fields out of number order: ...".
  std::string cause;
};

// Compares `encoded`, the bytes `record` was read from (Read, binary), with
// the record's own encoding, written once in stretches and compared as it
// is made; only when they differ are the bytes walked to say why. Nothing
// when they are the same: the document is in canonical form.
GCUSCHEMA_DOCUMENT_API std::optional<EncodingDifference> CompareEncoding(std::string_view encoded,
                                                                         const google::protobuf::Message& record);

// The difference in one sentence, without a remedy: "version is given
// twice, the earlier value 3 is dropped (at byte 0); encoded again, the 4
// bytes read become 2, differing from byte 1 on".
GCUSCHEMA_DOCUMENT_API std::string Describe(const EncodingDifference& difference);

}  // namespace gcuschema::document

#endif
