#ifndef GCUSCHEMA_TESTS_SUPPORT_POPULATE_H
#define GCUSCHEMA_TESTS_SUPPORT_POPULATE_H

#include <google/protobuf/message.h>

namespace gcuschema::test {

// Sets every field of the record, through reflection, to a non-zero value
// (two elements in each list, sub-records populated the same way), varying
// the values with `seed` so that different fields hold different values.
void PopulateEveryField(google::protobuf::Message* record, int seed = 1);

}  // namespace gcuschema::test

#endif
