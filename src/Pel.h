// Every unit of the library.
#pragma once

#include "foundation/CommonInterfaces.h"
#include "foundation/RefCount.h"
#include "foundation/Structures.h"
#include "lists/PelLists.h"
#include "platform/Classes.h"
#include "platform/SysUtils.h"
#include "platform/System.h"
