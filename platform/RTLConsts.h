// The framework's message texts for its general classes (lists, string
// lists, persistence, streams, filers, components). Kept in one place so the
// library raises exactly the texts programs written for the framework see.
#pragma once

namespace pel {

// Lists and string lists
constexpr const char* SListIndexError = "List index out of bounds (%d)";
constexpr const char* SListCapacityError = "List capacity out of bounds (%d)";
constexpr const char* SListCountError = "List count out of bounds (%d)";
constexpr const char* SSortedListError = "Operation not allowed on sorted list";
constexpr const char* SDuplicateString = "String list does not allow duplicates";
constexpr const char* SDuplicateItem = "List does not allow duplicates ($0%x)";

// Persistence (SAssignError lives with TPersistent)

// Streams, filers and components: added with the streaming classes.

}  // namespace pel
