// Classes: the framework's general classes (persistent objects, lists,
// string lists, streams, filers, components and collections). Each group
// lives in its own header under platform/classes/; include this one.
#pragma once

// clang-format off
#include "platform/RTLConsts.h"
#include "platform/classes/ClassesTypes.h"
#include "platform/classes/Persistent.h"
#include "platform/classes/Lists.h"
#include "platform/classes/InterfaceList.h"
#include "platform/classes/Strings.h"
#include "platform/classes/StringList.h"
// clang-format on
