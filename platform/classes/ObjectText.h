// The text form of a component stream, for people to read and edit.
//
//   object Main: TDrawing
//     Count = 70000
//     Title = 'it''s'#10'here'
//     Shades = [shDark, shNone]
//     Points = <
//       item
//         X = 1
//       end>
//     Blob = {
//       00010203}
//     object Child: TDrawing
//     end
//   end
//
// ObjectBinaryToText writes it line by line as the framework's open
// counterpart prints it (lines end in LF; a collection's opening line and
// each item's "end" line carry the indentation after them; a float is
// printed with 21 significant digits, " 1.50000000000000000000E+0000").
// Single, currency and date values, which that printer refuses, are
// printed the same way with the suffix s, c or d that the parser reads
// back. Strings print printable ASCII quoted and every other byte as #n.
//
// Floats are doubles here, so a float beyond their range reads as an
// infinity; infinities print as +Inf and -Inf and read back. A NaN prints as
// Nan, which reads back as the identifier Nan (the text has no NaN literal).
//
// ObjectTextToBinary parses that form (and the same with CR LF lines, string
// pieces joined by '+', hex integers with '$') back to the binary stream.
// The identifier Null is refused inside a list, where its code would close
// the list ("Invalid property value"), as is a decimal integer beyond 64 bits ("Number
// expected"), as are a property or object name beyond 255 characters and a
// class name of 240 or more, which the binary form cannot hold ("Line too
// long"). Bad text raises EParserError "<what> on line <n>"; a bad binary stream
// raises EReadError as the reader does. Both directions refuse nesting
// deeper than the reader's kMaxStreamDepth (500) levels with "Stream nested
// deeper than 500 levels" (on line <n> for text).
#pragma once

#include "platform/SysUtils.h"
#include "platform/classes/Streams.h"

namespace pel {

PEL_EXCEPTION(EParserError, Exception)

// Converts the binary component stream at Input's position to text.
void ObjectBinaryToText(TStream* Input, TStream* Output);
// Converts text at Input's position to a binary component stream.
void ObjectTextToBinary(TStream* Input, TStream* Output);

}  // namespace pel
