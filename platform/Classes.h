// Classes: the framework's general classes (persistent objects, lists,
// string lists, streams, filers, components and collections). Each group
// lives in its own header under platform/classes/; include this one.
#pragma once

#include "platform/classes/Persistent.h"
#include "platform/RTLConsts.h"
#include "platform/classes/ClassesTypes.h"
#include "platform/classes/Streams.h"
#include "platform/TypInfo.h"
#include "platform/classes/ClassRegistry.h"
#include "platform/classes/Collection.h"
#include "platform/classes/Component.h"
#include "platform/classes/Filer.h"
#include "platform/classes/ObjectText.h"
