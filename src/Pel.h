// Every unit of the library.
#pragma once

#include "foundation/CommonInterfaces.h"
#include "foundation/RefCount.h"
#include "foundation/Structures.h"
#include "graphs/ActivityNetwork.h"
#include "graphs/PelGraph.h"
#include "hashing/PelHashTable.h"
#include "lists/ListColl.h"
#include "lists/PelLists.h"
#include "platform/Classes.h"
#include "platform/Contnrs.h"
#include "platform/Menus.h"
#include "platform/SysUtils.h"
#include "platform/System.h"
#include "platform/TypInfo.h"
#include "trees/PelTree.h"
