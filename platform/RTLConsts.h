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

// Streams, filers and components
constexpr const char* SReadError = "Stream read error";
constexpr const char* SWriteError = "Stream write error";
constexpr const char* SFCreateError = "Cannot create file %s";
constexpr const char* SFOpenError = "Cannot open file %s";
// What TFileStream raises: the file name and the system's reason.
constexpr const char* SFCreateErrorEx = "Cannot create file \"%s\". %s";
constexpr const char* SFOpenErrorEx = "Cannot open file \"%s\". %s";
constexpr const char* SMemoryStreamError = "Out of memory while expanding memory stream";
constexpr const char* SInvalidImage = "Invalid stream format";
// Not the framework's: it has no limit and runs out of stack instead.
constexpr const char* SStreamTooDeep = "Stream nested deeper than %d levels";
constexpr const char* SReadOnlyProperty = "Property is read-only";
constexpr const char* SInvalidProperty = "Invalid property value";
constexpr const char* SInvalidPropertyValue = "Invalid property value";
constexpr const char* SInvalidPropertyType = "Invalid property type: %s";
constexpr const char* SUnknownProperty = "Property %s does not exist";
constexpr const char* SClassNotFound = "Class %s not found";
constexpr const char* SDuplicateClass = "A class named %s already exists";
constexpr const char* SDuplicateName = "A component named %s already exists";
constexpr const char* SInvalidName = "'%s' is not a valid component name";
constexpr const char* SAncestorNotFound = "Ancestor for '%s' not found";
constexpr const char* SInvalidBinary = "Invalid binary value";
constexpr const char* SParseError = "%s on line %d";
constexpr const char* SIdentifierExpected = "Identifier expected";
constexpr const char* SNumberExpected = "Number expected";
constexpr const char* SCharExpected = "'%s' expected";
constexpr const char* SSymbolExpected = "%s expected";
constexpr const char* SInvalidString = "Invalid string constant";
constexpr const char* SLineTooLong = "Line too long";

}  // namespace pel
