// What an edit changed in a record, field by field, so that a document's
// bytes are made anew only there.
#ifndef GCUSCHEMA_DOCUMENT_EDIT_TOUCHED_H
#define GCUSCHEMA_DOCUMENT_EDIT_TOUCHED_H

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/pairing.h>

namespace gcuschema::document::internal {

struct SettingsEdit;

// The fields of one record that edits reached, by field number.
struct Touched {
  struct Field {
    // Set as a whole: its value is spelt anew.
    bool whole = false;
    // A list of records: the elements entered, by position.
    std::map<int, std::unique_ptr<Touched>> elements;
    // A record held once: what was changed inside it.
    std::unique_ptr<Touched> inside;
    // A `config` whose settings were edited field by field: those settings,
    // the bytes they replace having been made anew already.
    const SettingsEdit* settings = nullptr;
  };
  std::map<int, Field> fields;

  Touched& Element(int number, int index) {
    std::unique_ptr<Touched>& element = fields[number].elements[index];
    if (element == nullptr) element = std::make_unique<Touched>();
    return *element;
  }
  Touched& Inside(int number) {
    std::unique_ptr<Touched>& inside = fields[number].inside;
    if (inside == nullptr) inside = std::make_unique<Touched>();
    return *inside;
  }
};

// Settings edited field by field: a record read from the bytes of a
// holder's `config`, edited, then spliced back into those bytes.
struct SettingsEdit {
  google::protobuf::Message* holder = nullptr;
  const google::protobuf::Descriptor* record = nullptr;
  std::unique_ptr<google::protobuf::Message> settings;
  std::string original;  // the bytes of `config` when the edit entered them
  Touched touched;
  int parent = -1;       // the settings these lie in (an index of the editor's), or -1
  bool dropped = false;  // replaced by settings given whole
};

// A record of `edited`'s type with `field` alone set as `edited` has it
// (with `with_code`, an entry's `config` comes with the entry's type code,
// which says what it holds), lent from `edited` and given back when this
// goes out of scope: a field spelt alone is spelt as the writers spell it
// in the whole record.
class FieldAlone {
 public:
  FieldAlone(google::protobuf::Message* edited, const google::protobuf::FieldDescriptor* field, bool with_code);
  ~FieldAlone();
  FieldAlone(const FieldAlone&) = delete;
  FieldAlone& operator=(const FieldAlone&) = delete;

  const google::protobuf::Message& record() const { return *alone_; }

 private:
  google::protobuf::Message* edited_;
  std::vector<const google::protobuf::FieldDescriptor*> fields_;
  std::unique_ptr<google::protobuf::Message> owned_;
  google::protobuf::Message* alone_;
};

// The document's bytes with the touched fields made anew from `edited`
// (the record they hold, edited); `edited` is given back as it was.
std::string SpliceBinary(std::string_view bytes, google::protobuf::Message* edited, const Touched& touched);
std::string SpliceJson(std::string_view text, google::protobuf::Message* edited, const Touched& touched,
                       const PairingCatalogue& pairing);
std::string SpliceText(std::string_view text, google::protobuf::Message* edited, const Touched& touched);

}  // namespace gcuschema::document::internal

#endif
