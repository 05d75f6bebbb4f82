// The states of a resource, and every move between them.
//
//     None -----------> Ready <---------> Cached
//      | \                |                 |
//      |  \               v                 |
//      |   '---------> Loading <------------'
//      |               |     |
//      v               |     v
//     Invalid <--------+-- Loaded
//                            |
//                            v
//                        Available <---> Inactive          every state ---> Delete
//
// Who makes a move, and what keeps others from making another one:
//
//   None -> Ready          the database that lists the resource; its lock, or not yet shared
//   None -> Invalid        a database, for a name without a resource; not yet shared
//   Ready -> Cached        the load queue, for its worker; the lock of the queue's items
//   Cached -> Ready        the load queue, taking it back; the same lock
//   Ready -> Loading       the thread that loads; its claim on the resource (LoadSlots.h)
//   Cached -> Loading      the same: the queue's worker, or a thread that could not wait for it
//   None -> Loading        the same, for a duplicate, which no database lists
//   Loading -> Loaded      the same thread, under the same claim, when the file was read
//   Loaded -> Available    the thread that finishes the load; its claim and the home's lock
//   Loading -> Invalid     the thread whose load failed; its claim
//   Loaded -> Invalid      the thread whose finishing stage failed; its claim
//   Available -> Inactive  the bin, when it takes the resource in; the home's lock
//   Inactive -> Available  the bin, when it gives the resource back; the home's lock
//   Ready -> Delete        the bin that unloads it; the lock of what the bin holds, or the home's
//   Inactive -> Delete     the same
//   Available -> Delete    the same: a bin that keeps nothing, or held it before its load
//   any -> Delete          the database that ends; its lock, and no load runs any more
//
// From Ready three moves compete under three different locks: the queue's, a load's and the bin's.
// Each is one compare-and-exchange (Resource::TryMove), so exactly one of them succeeds.
#pragma once

#include <cstdint>

namespace Vorn {

// The numbers are fixed: they index the table of names.
enum class ResourceState : std::uint32_t {
    None = 0,       // just made; no database lists it yet
    Ready = 1,      // not loaded
    Cached = 2,     // handed to the load queue's worker
    Loading = 3,    // its file is being read
    Loaded = 4,     // its file was read; the finishing stage is pending
    Locking = 5,    // never entered; it keeps the numbers
    Available = 6,  // loaded and usable
    Inactive = 7,   // loaded, and held by the bin because it has no references
    Invalid = 8,    // its load failed, or there is no such resource
    Delete = 9,     // being destroyed; nothing brings it back
};

[[nodiscard]] const char* NameOf(ResourceState state);

// Returns whether the diagram has a move from one state to the other.
[[nodiscard]] bool MayMove(ResourceState from, ResourceState to);

}  // namespace Vorn
