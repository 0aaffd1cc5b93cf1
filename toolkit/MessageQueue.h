// The process-wide queue of posted messages and the window timers. Any thread
// may post or set a timer; only the UI thread delivers, when it pumps.
#pragma once

#include <cstdint>

#include "toolkit/WinDefs.h"

class CWnd;
typedef void (*TIMERPROC)(HWND, UINT, UINT_PTR, DWORD);

namespace MessageQueue {

constexpr int kRingSize = 256;

// Records a message for window; past kRingSize undelivered records the
// oldest is overwritten. Wakes every open connection.
void Post(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
// Sends the messages posted before this call, in order, to the windows that
// still exist. Returns how many were delivered.
int DeliverPosted();
// Undelivered posts.
int PendingPosts();

// (Re)starts window's timer id; a zero id picks an unused one. Returns the id.
UINT_PTR SetTimer(HWND window, UINT_PTR id, UINT periodMs, TIMERPROC proc);
bool KillTimer(HWND window, UINT_PTR id);
void KillTimers(HWND window);
// Sends WM_TIMER (or calls the timer's procedure) for every due timer.
int FireDueTimers();
// Milliseconds until the next timer is due (-1 when there is none).
int MillisecondsToNextTimer();

}  // namespace MessageQueue
