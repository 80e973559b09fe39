// Edits of a document by field path, without an editor: one setting of one
// entry changed where it stands, every other byte of the document kept.
//
// A path names fields by their schema names (or JSON names) joined by
// points; a list is entered by position, `outputs[4]`, or by the element
// whose field has a value, `inputs[id=2]` (any field of the element that
// holds a single value: `maps[alias="Gear map"]`, `canbus[canbusId=1]`).
// Through `config` a path goes on into the entry's settings, as the record
// the entry's type code holds: `inputs[id=2].config.delay`.
#ifndef GCUSCHEMA_DOCUMENT_EDIT_H
#define GCUSCHEMA_DOCUMENT_EDIT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <google/protobuf/message.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/export.h>
#include <gcuschema/document/io.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document {

// One edit: where (a path) and the value it gets, as text.
struct Assignment {
  std::string path;
  std::string value;
};

// "inputs[id=2].config.delay=50" split at the first '=' outside brackets;
// the value is everything after it (possibly empty). Throws Error when there
// is no '=' or no path before it.
GCUSCHEMA_DOCUMENT_API Assignment ParseAssignment(std::string_view text);

struct EditOptions {
  // How the bytes EditDocument reads are written; told from them when not
  // given (DetectFormat).
  std::optional<Format> format;
  // Which record each entry's `config` holds.
  PairingCatalogue pairing = PairingCatalogue::Standard();
};

// Applies the assignments to `record`, in order, each path found in the
// record as the ones before left it. Values are spelt as in JSON: numbers
// ("50", "-1.5", "1e+20", "NaN", "Infinity"), true or false, enumeration
// values by name or number (an entry's `type` by the name of its code
// too), strings as they are or quoted with JSON's escapes ("\"Gear map\""),
// bytes in base64. A path into `config` edits the settings as the record
// the entry's type code holds, and their bytes are changed only where the
// field edited lies: unknown fields and the order of the others stay.
//
// Throws Error, `where` being the path as given, when a path or a value
// does not fit (naming the closest field or
// value names, or the ids there are), when `config` is entered where the
// type code holds no record or the bytes do not read as it, and when a
// `type` is set to a code that holds another record than the settings
// were written as, unless the same call gives the settings anew: `config=`
// (empty) or `config=BASE64`, after which their fields can be set too.
// Settings that are empty read as any record and need nothing. After an
// Error the record holds some of the assignments: read it again to start
// over.
GCUSCHEMA_DOCUMENT_API void Edit(google::protobuf::Message* record, const std::vector<Assignment>& assignments,
                                 const EditOptions& options = {});

// Reads the document `bytes` into `record` (as Read does), applies the
// assignments as Edit does, and sets `edited` to the document in the format
// it was read in with every byte outside the fields edited as it was:
// binary documents get only the edited fields encoded anew (with the
// lengths of the records around them), JSON and text format only the
// edited values spelt anew (as Write spells them, indented as the text
// around them; a field set to its default is taken out, one set from it
// put in among its neighbours in field order). `record` is left holding the
// edited document. Returns the format read. Throws Error as Read and Edit
// do; `edited` is then untouched.
GCUSCHEMA_DOCUMENT_API Format EditDocument(std::string_view bytes, google::protobuf::Message* record,
                                           const std::vector<Assignment>& assignments, std::string* edited,
                                           const EditOptions& options = {});

}  // namespace gcuschema::document

#endif
