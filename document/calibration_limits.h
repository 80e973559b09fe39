#ifndef GCUSCHEMA_DOCUMENT_CALIBRATION_LIMITS_H
#define GCUSCHEMA_DOCUMENT_CALIBRATION_LIMITS_H

// Private to the document library: a calibration checked against the limits
// of its template, for lint and the report.

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/lint.h>

namespace gcuschema::document::internal {

// The template's limits on one CalibrationData. A template entry bounds the
// values of the calibration entry it is matched with: the template field
// numbered n + 100 (named with "Min") is the least value of field n, the one
// numbered n + 200 (with "Max") the greatest, both inclusive; a limit of 0
// is no limit, as the encoding cannot tell it from an absent one. Entries
// are matched by logicalId: where it stands in the list says nothing, as
// the two files are edited apart. A logicalId that repeats in the template
// bounds no entry, since either of its entries could be meant.
class CalibrationLimits {
 public:
  // A value of a calibration entry with the limits its template entry sets
  // on it (a limit left at 0 is none).
  struct ValueLimits {
    const google::protobuf::FieldDescriptor* value;
    std::int64_t actual;
    const google::protobuf::FieldDescriptor* lower_limit = nullptr;
    std::int64_t lower = 0;
    const google::protobuf::FieldDescriptor* upper_limit = nullptr;
    std::int64_t upper = 0;
    bool within = true;  // keeps both: what Check reports when it does not
  };
  // What the template says of one calibration entry.
  struct EntryLimits {
    bool checked = false;  // the template lists entries of this kind
    int matched = -1;      // the template entry matched with it, -1 for none
    std::vector<ValueLimits> values;  // the bounded values, in field order
  };

  // Throws Error unless `calibration` is a CalibrationData and `limits` a
  // CalibrationTemplateData. Both must outlive this object.
  CalibrationLimits(const google::protobuf::Message& calibration, const google::protobuf::Message& limits);

  // The findings on element `index` of the calibration's list `list`, whose
  // path is `path`: each value beyond a limit (out-of-limits, error), or the
  // entry having no template entry while the template lists others of its
  // kind (no-limits, warning).
  void Check(const google::protobuf::FieldDescriptor* list, int index, const std::string& path,
             const std::function<void(Finding)>& emit) const;

  // The findings on the template's entries of the calibration's list
  // `list`, whose path is `path`: each entry repeating the logicalId of an
  // earlier one (duplicate-id, error), naming both.
  void CheckTemplate(const google::protobuf::FieldDescriptor* list, const std::string& path,
                     const std::function<void(Finding)>& emit) const;

  // The limits on element `index` of the calibration's list `list`, for
  // showing each value against them: the same decision Check takes.
  EntryLimits LimitsOf(const google::protobuf::FieldDescriptor* list, int index) const;

 private:
  struct Bound {
    const google::protobuf::FieldDescriptor* value;  // in the calibration entry
    const google::protobuf::FieldDescriptor* limit;  // in the template entry
    bool upper;
  };
  // Whether `value` keeps `limit`, a bound of `bound`'s kind.
  static bool Keeps(const Bound& bound, std::int64_t value, std::int64_t limit);
  struct List {
    const google::protobuf::FieldDescriptor* limits_list = nullptr;
    std::map<std::int64_t, int> by_id;  // template index of each logicalId, -1 where it repeats
    std::vector<std::pair<int, int>> repeated;  // template entries repeating an earlier one's logicalId
    std::vector<Bound> bounds;
  };

  const google::protobuf::Message& calibration_;
  const google::protobuf::Message& limits_;
  std::map<const google::protobuf::FieldDescriptor*, List> lists_;
};

}  // namespace gcuschema::document::internal

#endif
