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
#include "platform/classes/Streams.h"
#include "platform/TypInfo.h"
#include "platform/classes/ClassRegistry.h"
#include "platform/classes/Collection.h"
#include "platform/classes/Component.h"
#include "platform/classes/Filer.h"
#include "platform/classes/ObjectText.h"
// clang-format on
