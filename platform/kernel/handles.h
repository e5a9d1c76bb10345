// The table behind every HANDLE: small numbers, multiples of 4, that name reference-counted
// objects. A call looks its object up once and keeps it alive for its duration, so a handle closed
// by another thread in the middle of a call does no harm. Values are not reused at once: a stale
// handle meets ERROR_INVALID_HANDLE rather than somebody else's object.
#pragma once

#include <windef.h>

#include <memory>

namespace platform {

// Whatever a HANDLE can name. What a thread can wait for is in waits.h, what ReadFile reads is in
// file_object.h.
class Object {
public:
    virtual ~Object() = default;
    // False for what has a closing call of its own, such as searches and registry keys: CloseHandle
    // refuses them.
    virtual bool ClosedByCloseHandle() const { return true; }
    // Called once, when the handle is closed; outstanding work on the object completes then.
    // The object itself lives until its last user releases it.
    virtual void Close() {}
};

// The new handle; the table owns one reference.
HANDLE AddHandle(std::shared_ptr<Object> object);

// The object behind the handle, or null with ERROR_INVALID_HANDLE as the last error.
std::shared_ptr<Object> FindHandle(HANDLE handle);

// As above, but the last error stays as it was: for calls that give their error as a result.
std::shared_ptr<Object> PeekHandle(HANDLE handle);

// Removes the handle from the table and closes its object, which the caller has found behind it.
// False with ERROR_INVALID_HANDLE where another thread has closed it meanwhile.
bool RemoveHandle(HANDLE handle);

// As FindHandle, and null too where the object is of another kind.
template <class Kind>
std::shared_ptr<Kind> FindHandleOf(HANDLE handle);

// How many handles are open now, and how often a handle that was not open has been closed.
// Both must be 0 when the program ends; checks at exit ask here. A null handle and
// INVALID_HANDLE_VALUE fail to close without being counted: they can never be somebody else's.
int OpenHandleCount();
int BadCloseCount();

void SetInvalidHandleError();

template <class Kind>
std::shared_ptr<Kind> FindHandleOf(HANDLE handle) {
    auto kind = std::dynamic_pointer_cast<Kind>(FindHandle(handle));
    if (!kind)
        SetInvalidHandleError();
    return kind;
}

} // namespace platform
