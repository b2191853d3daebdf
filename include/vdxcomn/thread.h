/* Threads, mutexes, semaphores, events, conditions, thread-local keys and the coroutine lock.
 *
 * Every object is an opaque block obtained with malloc by its create call. It lives until its
 * delete, drop, detach or cancel call, after which the pointer is invalid; deleting an object on
 * which a thread still waits is an error of the caller's. A thread whose wait for a semaphore, event
 * or condition has returned may delete it, even if the call that released the thread has yet to
 * return. All calls may be made from any thread, none from a signal handler.
 *
 * Unless stated otherwise a call returns 1 for success and 0 for failure, reports no message and
 * keeps no error code of the system. A null pointer argument is reported as
 * com_raise_invalid_null_pointer describes, with result 0 where a handler resumes; the calls that
 * take null as a value say so, and those that say "asserted" report it through com_bomb. A create
 * call that fails has allocated nothing and leaves null in its output.
 *
 * Waits are measured by a clock that no change of the time of day moves, and return for nothing
 * but what they waited for. A set, release or signal hands over to a thread that already waits:
 * neither a reset that follows nor a wait that begins later takes it from that thread. A thread
 * that is ended before its wait returns hands on what it was given, on POSIX systems. No order is
 * promised among waiters.
 *
 * On POSIX systems one real-time signal, the highest that is at its default action when the first
 * thread is created, belongs to comn_kill_thread, comn_cancel_thread and comn_getsp; the threads
 * made here must leave its action and mask alone. */
#ifndef VDXCOMN_THREAD_H
#define VDXCOMN_THREAD_H

#include "vdxcomn/types.h"

VDX_BEGIN_DECLS

typedef struct vdx_thread vdx_thread;
typedef struct vdx_mutex vdx_mutex;
typedef struct vdx_sem vdx_sem;
typedef struct vdx_event vdx_event;
typedef struct vdx_cond vdx_cond;

typedef uint32_t vdx_tid; /* the system's identifier of a thread; 0 is no thread */
typedef uint32_t vdx_key; /* a thread-local slot; 0 is a slot like any other */

/* What a thread runs. The value it returns is not kept. */
typedef void *vdx_start_routine(void *argument);

/* Time-out of a wait without limit; -1 is one too. */
#define VDX_NO_LIMIT (-9999)

/* Kinds of event: a wait consumes the signal, or the event stays signalled until it is reset. */
#define VDX_EVENT_AUTO 1
#define VDX_EVENT_MANUAL 0

/* ---- Threads ---- */

/* Starts a thread that runs start(argument). stack_size: bytes, 0 for the system's default; small
 * sizes are raised to what the system needs. 0 when memory or threads are short. The object has
 * to be given back by comn_detach_thread or comn_cancel_thread, whether the thread has ended or
 * not. */
VDX_API int32_t comn_create_thread_ex(vdx_thread **thread, vdx_start_routine *start, void *argument,
                                      size_t stack_size);

/* The same with the default stack size. */
VDX_API int32_t comn_create_thread(vdx_thread **thread, vdx_start_routine *start, void *argument);

/* Does nothing, for threads run from their creation. Looks at no argument. 1. */
VDX_API int32_t comn_start_thread(vdx_thread *thread);

/* Waits without limit until the thread has ended. 1, or 0 when the wait failed, as it does for a
 * thread that waits for itself. May be called more than once and by several threads; the
 * object stays. */
VDX_API int32_t comn_join_thread(vdx_thread *thread);

/* Gives the object back; a running thread runs on. 1. */
VDX_API int32_t comn_detach_thread(vdx_thread *thread);

/* Waits up to 1,000 ms for the thread to end, then ends it where it stands, whatever it does. 1
 * when the thread has ended or was ended, 0 when it could not be ended. The object stays.
 *
 * A thread that is ended leaves behind what it had: mutexes that it held stay held for ever, the
 * memory and files it owned stay allocated and open, data it was changing stays half changed, no
 * destructor of an object on its stack runs. Ended inside the allocator it can leave the
 * allocator's own locks held, which stops every other thread that allocates. It is a last
 * resort for a process that will end soon. On POSIX a thread that has blocked all signals is
 * cancelled asynchronously after 1,000 ms more; C++ code may end the process when that strikes. */
VDX_API int32_t comn_kill_thread(vdx_thread *thread);

/* Ends the thread as comn_kill_thread does, but at once, and gives the object back in every case.
 * Returns after the thread's last instruction of its routine, 0 when it could not be ended; on
 * POSIX destructors of the system's own thread-local data may still run then. For the calling
 * thread itself it does not return. */
VDX_API int32_t comn_cancel_thread(vdx_thread *thread);

/* Ends the calling thread, on Windows with *status, or 0 for null, as its exit code; POSIX keeps
 * none. Does not return. No destructor of an object on the stack runs in a thread that was made
 * here; in another, that is left to the platform. */
VDX_API void comn_exit_thread(const int32_t *status);

/* Gives the processor to another thread that is ready. */
VDX_API void comn_yield(void);

/* The calling thread's identifier. */
VDX_API vdx_tid comn_thread_id(void);

/* Writes the calling thread's identifier, 4 bytes in native order, to buffer, which may be
 * unaligned. 0, with nothing written, when length is below 4. *length_out, unless null, receives
 * 4. */
VDX_API int32_t comn_get_tid(void *buffer, int32_t length, int32_t *length_out);

/* The same with the identifier 0, which is no thread's. */
VDX_API int32_t comn_get_default_tid(void *buffer, int32_t length, int32_t *length_out);

/* 1 when both identifiers are the same, else 0. */
VDX_API int32_t comn_thread_equal(vdx_tid first, vdx_tid second);

/* Sets the thread's priority, 0 (least) to 15: 0 to 2 are idle (run when nothing else does), 3 and 4 lowest,
 * 5 and 6 below normal, 7 to 9 normal, 10 and 11 above normal, 12 and 13 highest, 14 and 15 time
 * critical; on POSIX the nice values 19, 10, 5, 0, -5, -10 and -20. 0 for any other priority,
 * with the thread untouched, for a thread that has ended, and where the system refuses, as POSIX
 * systems do when an unprivileged process raises a priority. Null is asserted. */
VDX_API int32_t comn_set_priority(vdx_thread *thread, int32_t priority);

/* Does nothing. 1. */
VDX_API int32_t comn_set_cancelstate(int32_t state);

/* Returns an address inside the thread's stack: its stack pointer at the time of the call. Null for
 * a thread that has ended. On POSIX the thread is asked by the signal named above and waited for up
 * to 500 ms; without an answer, as from a thread that blocks the signal, the address is that of its
 * last answer or else of its first frame. A null thread is asserted. */
VDX_API void *comn_getsp(vdx_thread *thread);

/* ---- Mutexes: a thread may take a mutex that it holds, and releases it as often ---- */

/* Makes a free mutex. 0 when memory is short. */
VDX_API int32_t comn_create_mutex(vdx_mutex **mutex);

/* Takes the mutex, waiting without limit. 1. */
VDX_API int32_t comn_take_mutex(vdx_mutex *mutex);

/* Takes the mutex without waiting. 1 when taken, 0 when another thread holds it. */
VDX_API int32_t comn_try_mutex(vdx_mutex *mutex);

/* Releases the mutex once. 1. Only the thread that holds the mutex may call; POSIX tells a caller
 * that does not by 0 and leaves the mutex alone. */
VDX_API int32_t comn_release_mutex(vdx_mutex *mutex);

/* Deletes the mutex, which nobody may hold. 1, or 0 for null. */
VDX_API int32_t comn_delete_mutex(vdx_mutex *mutex);

/* ---- Semaphores ---- */

/* Makes a semaphore without units that holds at most maximum, 1 to 2^31 - 1. 0 for another
 * maximum and when memory is short. */
VDX_API int32_t comn_create_sem(vdx_sem **semaphore, int32_t maximum);

/* Takes a unit: no_wait 0 waits for one without limit, any other value does not wait. 1 when
 * taken, XS_TIMED_OUT when there was none, 0 on failure. */
VDX_API int32_t comn_waitfor_sem(vdx_sem *semaphore, int32_t no_wait);

/* Adds a unit, or hands it to a thread that waits. 0, with nothing changed, when the semaphore
 * holds its maximum. */
VDX_API int32_t comn_release_sem(vdx_sem *semaphore);

/* Deletes the semaphore. 1. */
VDX_API int32_t comn_delete_sem(vdx_sem *semaphore);

/* ---- Events ---- */

/* Makes an unsignalled event: kind 1 (VDX_EVENT_AUTO) is reset by the wait that it ends, any other
 * kind stays signalled until comn_reset_event. 0 when memory is short. Null is asserted. */
VDX_API int32_t comn_create_event_ex(vdx_event **event, int32_t kind);

/* Makes an event that is reset by the wait that it ends. Null is asserted. */
VDX_API int32_t comn_create_event(vdx_event **event);

/* Waits up to timeout milliseconds for the event, 0 only looks, VDX_NO_LIMIT waits without limit;
 * other negative values count as unsigned. 1 when signalled, XS_TIMED_OUT when not, 0 on failure. */
VDX_API int32_t comn_waitfor_event(vdx_event *event, int32_t timeout);

/* Signals the event: releases every waiter of a manual-reset event, else one waiter, or without any
 * the next wait to begin. 1. */
VDX_API int32_t comn_signal_event(vdx_event *event);

/* Makes the event unsignalled; waits that were already released stay so. 1. */
VDX_API int32_t comn_reset_event(vdx_event *event);

/* Deletes the event. 1; 0 for null, and where the system refuses: the object then stays. */
VDX_API int32_t comn_delete_event(vdx_event *event);

/* ---- Conditions ---- */

/* Makes a condition. 0 when memory is short. Null is asserted. */
VDX_API int32_t comn_create_cond(vdx_cond **condition);

/* Releases one waiter, or without any the next wait to begin: a signal is kept until a wait consumes
 * it, several kept ones count as one. 1. */
VDX_API int32_t comn_signal_cond(vdx_cond *condition);

/* Releases every waiter, and for good: from then on each wait on the condition returns at once. 1. */
VDX_API int32_t comn_broadcast_cond(vdx_cond *condition);

/* Releases the mutex once, waits without limit for a signal or broadcast, and takes the mutex
 * again. As a kept signal may be an old one, callers test what they wait for in a loop. 1; 0 when
 * the caller does not hold the mutex, or when the wait failed, with the mutex taken again. Nulls
 * are asserted. */
VDX_API int32_t comn_wait_cond(vdx_cond *condition, vdx_mutex *mutex);

/* Deletes the condition. 1, or 0 for null. */
VDX_API int32_t comn_delete_cond(vdx_cond *condition);

/* ---- Thread-local keys ---- */

/* Makes a key whose value is null in every thread. 0, with *key left alone, when no key is left. */
VDX_API int32_t comn_create_key(vdx_key *key);

/* Drops the key; the values, which are the caller's, are not looked at. 0 for an unused key. */
VDX_API int32_t comn_drop_key(vdx_key key);

/* Stores the calling thread's value; null is a value. 0 for an unused key. */
VDX_API int32_t comn_set_threaduserdata(vdx_key key, const void *value);

/* The calling thread's value: null when never set, or for an unused key. */
VDX_API void *comn_get_threaduserdata(vdx_key key);

/* ---- Coroutine mode: one lock a process, for clients that let one thread at a time in ---- */

/* Turns the mode on, with the lock free. 1, or 0 when it is on already. */
VDX_API int32_t comn_start_coroutine_mode(void);

/* When the mode is on, takes the lock, as often as the thread likes, waiting without limit. 1. */
VDX_API int32_t comn_take_coroutine_control(void);

/* When the mode is on, releases the lock once. 1. */
VDX_API int32_t comn_release_coroutine_control(void);

/* When the mode is on, releases the lock once, as its caller holds it, and turns the mode off; no
 * thread may wait for the lock then. 1. */
VDX_API int32_t comn_end_coroutine_mode(void);

VDX_END_DECLS

#endif
