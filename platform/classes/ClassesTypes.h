// Small types shared by the framework's general classes.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/System.h"

namespace pel {

// An event bound to an object, taking the sender; "assigned" is operator bool.
using TNotifyEvent = std::function<void(TObject* Sender)>;

// What a sorted list does with a string it already holds.
enum TDuplicates : uint8_t { dupIgnore, dupAccept, dupError };

// What TList tells its descendants (TList::Notify) about a pointer.
enum TListNotification : uint8_t { lnAdded, lnExtracted, lnDeleted };

}  // namespace pel
