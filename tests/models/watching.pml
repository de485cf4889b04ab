/* Begin, end, sleep, wake, restart and quit of watching: the main thread, the watcher's thread and its
   helper, the launches of the daemon, and whoever asks for any of it.

   Models, and has to change with: agent/Watching.cpp, agent/MainThreadRequests.cpp,
   watchers/FSEventWatcher.cpp, engine/DaemonStart.cpp and the launches in engine/ClamdLink.cpp.

   Proves: no deadlock; one loop of the watcher, one helper and one request at a time; a pause before
   another start of the helper ends when watching does; the process does not end while a daemon of ours is
   being launched, nor without a word to one that runs. With weak fairness: in the end the helper runs if
   watching was begun last, and does not if it was ended last; and a quit ends the process, also while a
   daemon that is being launched never comes up.

   Left out: what is read and shown at each start, and what the helper reports. */

#ifndef REQUESTS
#define REQUESTS 2 /* of the user and the desktop, after the start at launch */
#endif
#ifndef FAILURES
#define FAILURES 0 /* of the helper */
#endif
#ifndef DEATHS
#define DEATHS 0 /* of the daemon, which a scanner then launches again */
#endif
#ifndef THREADLESS
#define THREADLESS 0 /* times that no thread is to be had for the watcher */
#endif

/* What the event loop has for the main thread, and what waits until a request has been performed. */
mtype = { NONE, START, STOP, RESTART, SLEEP, WAKE, QUIT, END, LAST };
chan events = [6] of { mtype };
chan held = [6] of { mtype };

bool exited, quitAsked, quitWaits, performing, startAfterSleep;
bool wanted; /* watching was begun, and not ended since, as the main thread has it */

/* FSEventWatcher. */
bool isWatching, loopClaimed, loopWanted, taskKnown, paused, woken;
byte loops;

/* The helper. */
bool helperRuns, terminated;
byte failures;

/* The daemon, and the programs that launch it: for the main thread, and for a scanner. */
#define FOR_MAIN 0
#define FOR_SCANNER 1
mtype:launch = { IDLE, LOADING, UP, FAILED };
mtype:launch launch[2] = { IDLE, IDLE };
bool daemonRuns, ours, weLaunchedClamd, launchingClamd, launchesNoMore, abandoned, recovering, toldToQuit;

proctype Launch(bit whose) {
  if
  :: atomic { daemonRuns = true; ours = true; launch[whose] = UP }
  :: launch[whose] = FAILED
  :: abandoned -> launch[whose] = FAILED
  :: true ->
endLoads:
    abandoned -> launch[whose] = FAILED
  fi
}

/* Nothing when no more are to be launched. */
inline beginLaunch(whose) {
  atomic {
    if
    :: launchesNoMore -> launch[whose] = FAILED
    :: else -> launch[whose] = LOADING; run Launch(whose)
    fi
  }
}

/* A minute after a quit that waits. */
proctype Patience() {
  abandoned = true
}

inline stopWatching() {
  atomic {
    isWatching = false;
    loopWanted = false;
    terminated = terminated || taskKnown
  };
  atomic { woken = woken || paused }
}

inline endIfWatching() {
  if
  :: isWatching -> stopWatching(); wanted = false
  :: else
  fi
}

inline quitNow() {
  endIfWatching();
  toldToQuit = weLaunchedClamd;
  atomic {
    assert(launch[FOR_MAIN] != LOADING);
    assert(!weLaunchedClamd || (launch[FOR_SCANNER] != LOADING && (!ours || toldToQuit)));
    exited = true
  }
}

/* The event loop runs also while the main thread waits: a quit is heard at once, the rest is held. */
inline takeEvent() {
  events ? event;
  if
  :: event == QUIT ->
    atomic {
      quitAsked = true;
      launchesNoMore = true;
      mustWait = launchingClamd || (weLaunchedClamd && (launch[FOR_MAIN] == LOADING || launch[FOR_SCANNER] == LOADING))
    };
    if
    :: mustWait && quitWaits
    :: mustWait && !quitWaits -> quitWaits = true; run Patience(); held ! LAST
    :: else -> quitNow()
    fi;
    mustWait = false
  :: else -> held ! event
  fi;
  event = NONE
}

/* The engine may take long to load, or for ever. */
inline begin() {
  if
  :: daemonRuns -> weLaunchedClamd = false; usable = true
  :: else ->
    launchingClamd = true;
    beginLaunch(FOR_MAIN);
endLoads:
    do
    :: exited || launch[FOR_MAIN] != LOADING -> break
    :: !exited && nempty(events) -> takeEvent()
    od;
    usable = launch[FOR_MAIN] == UP;
    launch[FOR_MAIN] = IDLE;
    launchingClamd = false;
    weLaunchedClamd = usable
  fi;
  if
  :: usable && !exited && isWatching -> wanted = true
  :: usable && !exited && !isWatching ->
    atomic { loopWanted = true; claimed = loopClaimed; loopClaimed = true };
    if
    :: claimed -> wanted = true
    :: !claimed -> run Watcher(); wanted = true
#if THREADLESS > 0
    :: !claimed && threadless < THREADLESS ->
      threadless++;
      atomic { loopWanted = false; loopClaimed = false };
      wanted = false
#endif
    fi
  :: else
  fi;
  usable = false;
  claimed = false
}

proctype Main() {
  mtype event = NONE, request = NONE;
  bool usable, claimed, mustWait;
#if THREADLESS > 0
  byte threadless;
#endif
end:
  do
  :: exited -> break
  :: !exited && empty(held) && nempty(events) -> takeEvent()
  :: !exited && nempty(held) ->
    held ? request;
    atomic { assert(!performing); performing = true };
    if
    :: request == START -> begin()
    :: request == STOP -> stopWatching(); wanted = false
    :: request == END ->
      if
      :: loopWanted
      :: else -> wanted = false
      fi
    :: request == RESTART -> endIfWatching(); begin()
    :: request == SLEEP ->
      if
      :: isWatching -> stopWatching(); wanted = false; startAfterSleep = true
      :: else
      fi
    :: request == WAKE ->
      if
      :: startAfterSleep -> begin(); startAfterSleep = false
      :: else
      fi
    :: request == LAST ->
      endIfWatching();
endRecovers:
      do
      :: exited || !recovering -> break
      :: !exited && nempty(events) -> takeEvent()
      od;
      if
      :: exited
      :: else -> quitNow()
      fi
    fi;
    request = NONE;
    performing = false
  od
}

/* The helper ended, for it lacks the rights to watch: whoever asks for watching again, the user is asked. */
inline installHelper() {
  stopWatching();
  events ! END;
  if
  :: events ! START
  :: events ! QUIT
  fi
}

proctype Watcher() {
  loops++;
  assert(loops == 1);
  atomic { loopWanted = loopWanted || !loopClaimed; loopClaimed = true };
  do
  :: isWatching = loopWanted;
    do
    :: isWatching ->
      atomic { assert(!helperRuns); helperRuns = true; terminated = false };
      /* Stopped while the helper was being launched: that stop found nothing to end. */
      atomic { taskKnown = true; terminated = terminated || !isWatching };
endWatches:
      if
      :: exited -> goto done
      :: !exited && terminated -> helperRuns = false
#if FAILURES > 0
      :: !exited && failures < FAILURES -> helperRuns = false; failures++
      :: !exited && failures < FAILURES -> helperRuns = false; failures++; installHelper()
#endif
      fi;
      taskKnown = false;
      /* What is waited for is tested, and the wait begun, under one lock. */
      if
      :: failures > 0 ->
        atomic { paused = isWatching; woken = false };
        if
        :: !paused
        :: paused -> woken
        fi;
        paused = false
      :: true
      fi
    :: else -> break
    od;
    atomic {
      loopClaimed = loopWanted;
      if
      :: !loopWanted -> loops--; break
      :: else
      fi
    }
  od;
done:
  skip
}

#if DEATHS > 0
/* A scanner finds the daemon gone. */
proctype Scanner() {
  byte deaths;
end:
  do
  :: deaths < DEATHS && daemonRuns && !exited ->
    deaths++;
    atomic { daemonRuns = false; ours = false; recovering = true };
    beginLaunch(FOR_SCANNER);
endLoads:
    launch[FOR_SCANNER] != LOADING;
    atomic { launch[FOR_SCANNER] = IDLE; recovering = false }
  od
}
#endif

proctype Desktop() {
  byte n;
  for (n : 1 .. REQUESTS) {
    if
    :: events ! START
    :: events ! STOP
    :: events ! RESTART
    :: events ! SLEEP
    :: events ! WAKE
    :: events ! QUIT
    fi
  }
}

/* Time goes on when nothing else does, and so pauses end. A run that stands still has no end, either. */
active proctype Time() {
  bool tick;
end:
  do
  :: atomic {
      timeout ->
      if
      :: paused && !woken -> assert(isWatching || exited); woken = true
      :: else -> tick = !tick
      fi
    }
  od
}

init {
  atomic {
    if
    :: daemonRuns = true
    :: true
    fi;
    held ! START;
    run Main();
    run Desktop();
#if DEATHS > 0
    run Scanner()
#endif
  }
}

ltl asAsked { <> [] (exited || launchingClamd || (wanted == helperRuns && wanted == isWatching)) }
ltl quits { [] (quitAsked -> <> exited) }
