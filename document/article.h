// A record's name with the article it takes in a message: "an
// AdcConfiguration", "a ConfigData", "a Units".
#ifndef GCUSCHEMA_DOCUMENT_ARTICLE_H
#define GCUSCHEMA_DOCUMENT_ARTICLE_H

#include <string>
#include <string_view>

namespace gcuschema::document::internal {

// "an " or "a " before `name`, by how the name starts when said: a vowel
// sound takes "an" ("an Input", "an Estimations"), a "you" does not ("a
// Units").
std::string WithArticle(std::string_view name);

}  // namespace gcuschema::document::internal

#endif
