#pragma once

#include <cstddef>
#include <string_view>

#include "storage/velor_space.h"

/// Fields of the record in a shelf. Occurrences and directory indexes count from 1. Texts are bytes in the
/// encoding of the database; lengths are in bytes. A text may lie in the shelf itself.
namespace velor_32 {

/// Number of fields.
[[nodiscard]] int Velornfields(const TVelorSpace* space, int shelf);

/// Tag at a directory position, 0 for a bad index.
[[nodiscard]] int Velorfldtag(const TVelorSpace* space, int shelf, int index);

/// Number of fields with that tag.
[[nodiscard]] int Velornocc(const TVelorSpace* space, int shelf, int tag);

/// Directory index of the nth field with that tag, 0 when absent. An empty record gives 1: callers read it as
/// the first free occurrence.
[[nodiscard]] int Velorfieldn(const TVelorSpace* space, int shelf, int tag, int occurrence);

/// Copies a field into the scratch area of the shelf, zero-terminated; the text is valid until the next call
/// on this shelf. `subfields`, unless null or empty, is a list of subfield codes ("^" signs in it are passed
/// over): their values are joined in the order of the list. "^*" alone gives what stands before the first
/// "^". A bad index gives an empty text, a bad shelf or space too.
[[nodiscard]] const char* Velorfield(TVelorSpace* space, int shelf, int index, const char* subfields);

/// The bytes of a field where they lie, valid until the record changes; empty, tag 0, for a bad index.
[[nodiscard]] const char* Velorfield(const TVelorSpace* space, int shelf, int index, int* tag, int* length);
[[nodiscard]] std::string_view FieldText(const TVelorSpace* space, int shelf, int index, int* tag = nullptr);

/// Adds a field: before the directory position `index` when that is in 1..nvf, otherwise at the end. A null
/// text or a length below 1 gives -200; a tag below 1 does nothing and gives 0.
int Velorfldadd(TVelorSpace* space, int shelf, int tag, int index, const char* text, int length);
int Velorfldadd(TVelorSpace* space, int shelf, int tag, int index, const char* text);

/// Adds an empty field in the same way.
int Velorfldaddempty(TVelorSpace* space, int shelf, int tag, int index);

/// Replaces the field at a directory position; a null text or a length of 0 deletes it. A bad index or a
/// negative length gives -200.
int Velorfldrep(TVelorSpace* space, int shelf, int index, const char* text, int length);
int Velorfldrep(TVelorSpace* space, int shelf, int index, const char* text);

/// Removes all fields.
int Velorfldempty(TVelorSpace* space, int shelf);

/// Finds a subfield. Code "*" means the part before the first "^" and needs one to be there. The upper-case
/// form of the code wins over the lower-case one; the first occurrence counts. Result 1, `value` then
/// pointing into `field`, or 0 and `value` untouched.
int getsubfield(std::string_view field, std::string_view* value, char code);

}  // namespace velor_32
