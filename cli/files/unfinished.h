// SPDX-License-Identifier: MIT
#pragma once

// What a signal that ends the process is to take away: files, and folders that are empty by then. Any thread.

// `path` must stay where it is until releaseUnfinished(). What was registered last goes first, so a folder is
// registered before what is in it. Answers a slot; -1 when there are too many.
int registerUnfinished(const char* path) noexcept;
void releaseUnfinished(int slot) noexcept;

// Takes all of it away; a signal handler may call this.
void removeUnfinished() noexcept;
