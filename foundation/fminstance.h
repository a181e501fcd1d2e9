#pragma once
// The single-instance rule of the window program: one instance per user and login session. Other
// users of a shared workstation, and the same user in another session (a second seat, a remote
// login), start their own.
//
// A login session is told by the kernel's audit session id (/proc/<pid>/sessionid); where that is
// unset (4294967295, as in many containers), by the environment's XDG_SESSION_ID; with neither, all
// processes of the user count as one session.

#include <QString>

// Id of another running process with this short name (the kernel keeps 15 characters, compared
// without regard to case) of the same effective user in the same login session as the caller; 0
// when there is none.
long long fmOtherInstanceInSession(const QString& name);

// The login session of a process (0: the caller), as above; empty when none is known.
QString fmLoginSessionOf(long long pid);
