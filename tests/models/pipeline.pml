/* The road of a file from the report of its change to its verdict, with every thread that touches it.

   Models, and has to change with: scanning/Dispatcher.{h,cpp}, scanning/PatientScanner.cpp (round),
   scanning/EngineRun.{h,cpp} (RunningScanners, perform), scanning/AbortedScans.{h,cpp},
   scanning/UnscannedFiles.{h,cpp} and who has it report (agent/Health.cpp), posix/Mutex.h (Condition),
   abortScans() of agent/VantrelQuillo.cpp.

   Proves: no deadlock; no path lost (what was reported and is not scanned as it is now stands in some
   list, or the user was told of it); one promotion, one hand-out; a run that is ended by an abort is
   counted by it, and each abort says once what it left; a path goes back at most three times; a wait
   lasts to its bound with work to do only when a signal fell between a test and a wait. With weak
   fairness: every change that was reported is scanned in the end, or told of, and each abort is logged.

   Left out: what scans take and cost, folders and empty files, exclusion (a path that leaves a batch).
   A size is the number of the last change, so that two measurements agree when the file held still.
   The intake is a set, as the step that takes it over makes it one. A batch has one path for 200. */

#ifndef PATHS
#define PATHS 2
#endif
#ifndef CHANGES
#define CHANGES 1 /* of each path, each reported */
#endif
#ifndef ABORTS
#define ABORTS 0 /* by the user */
#endif
#ifndef DEATHS
#define DEATHS 0 /* of the daemon */
#endif
#ifndef KILLS
#define KILLS 0 /* of a scanner by itself, by somebody else */
#endif
#ifndef BATCH
#define BATCH 1
#endif
#define SCANNERS 2
#ifndef RETURNS
#define RETURNS 3 /* of a path to the intake, at most */
#endif
#define BIT(n) (1 << (n))
#define WITHOUT(set, n) ((set) & ~BIT(n))

/* Clang proves which lock guards what, so what is done under one is a single step to all others. With
   LOCKS the locks are there and each statement is a step of its own: that shows that they do not block
   each other, and what would happen without one. */
#ifdef LOCKS
#define SECTION
#define NOBODY 255
byte lock4Lists = NOBODY, dispatchLock = NOBODY, scannerLock = NOBODY;
inline lock(l) { atomic { l == NOBODY -> l = _pid } }
inline unlock(l) { atomic { assert(l == _pid); l = NOBODY } }
#else
#define SECTION atomic
#define lock(l) skip
#define unlock(l) skip
#endif

/* The world. */
byte change[PATHS];   /* the number of the last change of the file */
byte reported[PATHS]; /* the last change that was reported */
byte scanned[PATHS];  /* the last change that has a verdict */
byte told;            /* paths that stay unscanned, as the user knows */
byte gone;            /* paths that are no more */
bool daemonUp = true;
byte kills;

/* The dispatcher's lists. An item is absent, unmeasured, ready, or of the size last measured. */
#define ABSENT 0
#define UNMEASURED 100
#define READY 101
byte itemList;
byte myItemList[PATHS];
byte scannableList;
bool scannable;       /* scannableCount is not 0 */
byte promoted;        /* paths that are promoted, and that no scanner has been given since */

/* The conditions: who waits, who was woken, who is between his test and his wait, and whether a signal
   fell there. */
bool dispatcherWaits, dispatcherWoken, dispatcherTested, dispatchLost;
byte scannersWait, scannersWoken, scannersTested;
bool scannerLost;

/* The scanners' runs. */
byte batch[SCANNERS];
byte launched, killed;

/* AbortedScans. Aborts are numbered from 1. */
byte openAbort;
byte noted;
byte abortOf[SCANNERS];
byte awaited[ABORTS + 1];
byte logged[ABORTS + 1];

/* UnscannedFiles. */
byte waiting;
byte onTheirWay;      /* from there to the intake */
byte tries[PATHS];

#define LISTED(p) ((itemList & BIT(p)) || myItemList[p] != ABSENT || (scannableList & BIT(p)))
#define SOMEWHERE(p) (LISTED(p) || ((batch[0] | batch[1] | waiting | onTheirWay) & BIT(p)))
#define SETTLED(p) (((gone | told) & BIT(p)) || scanned[p] >= reported[p])

inline unlockLists() {
  atomic {
    assert(SETTLED(0) || SOMEWHERE(0));
#if PATHS > 1
    assert(SETTLED(1) || SOMEWHERE(1));
#endif
    unlock(lock4Lists)
  }
}

/* What is reported again meanwhile is scanned yet. */
inline tell(p) { if :: LISTED(p) :: else -> told = told | BIT(p) fi }

inline signalDispatchLock() {
  SECTION {
    lock(dispatchLock);
    atomic {
      if
      :: dispatcherWaits -> dispatcherWaits = false; dispatcherWoken = true
      :: dispatcherTested -> dispatchLost = true
      :: else
      fi
    };
    unlock(dispatchLock)
  }
}

inline signalScannerLock() {
  SECTION {
    lock(scannerLock);
    atomic {
      if
      :: scannersWait & BIT(0) -> scannersWait = WITHOUT(scannersWait, 0); scannersWoken = scannersWoken | BIT(0)
      :: scannersWait & BIT(1) -> scannersWait = WITHOUT(scannersWait, 1); scannersWoken = scannersWoken | BIT(1)
      :: scannersWait == 0 -> scannerLost = scannerLost || scannersTested != 0
      fi
    };
    unlock(scannerLock)
  }
}

/* Whoever writes the file; then the helper and the watcher, who report it. */
proctype Producer(byte path) {
  byte n;
  for (n : 1 .. CHANGES) {
    change[path] = n;
    SECTION {
      lock(lock4Lists);
      atomic { itemList = itemList | BIT(path); reported[path] = n; told = WITHOUT(told, path) };
      unlockLists()
    };
    signalDispatchLock()
  };
  if
#ifdef VANISH
  :: gone = gone | BIT(path)
#endif
  :: true
  fi
}

inline copyItemsToMyItemList() {
  SECTION {
    lock(lock4Lists);
    for (p : 0 .. PATHS - 1) {
      if
      :: (itemList & BIT(p)) && !(scannableList & BIT(p)) && myItemList[p] == ABSENT -> myItemList[p] = UNMEASURED
      :: else
      fi
    };
    p = 0;
    itemList = 0;
    unlockLists()
  }
}

/* A file may change between the measurements of two paths. */
inline getItemSizes() {
  lock(lock4Lists);
  for (p : 0 .. PATHS - 1) {
    atomic {
      if
      :: myItemList[p] == ABSENT
      :: myItemList[p] != ABSENT && (gone & BIT(p)) -> myItemList[p] = ABSENT
      :: myItemList[p] == READY && !(gone & BIT(p))
      :: else ->
        if
        :: myItemList[p] == change[p] -> myItemList[p] = READY
        :: else -> myItemList[p] = change[p]
        fi
      fi
    }
  };
  atomic { p = 0; unlockLists() }
}

inline moveReadyItems() {
  SECTION {
    lock(lock4Lists);
    for (p : 0 .. PATHS - 1) {
      if
      :: myItemList[p] == READY ->
        atomic {
          assert(!(promoted & BIT(p)));
          promoted = promoted | BIT(p);
          scannableList = scannableList | BIT(p);
          myItemList[p] = ABSENT
        }
      :: else
      fi
    };
    p = 0;
    scannable = scannableList != 0;
    unlockLists()
  };
  signalScannerLock()
}

proctype Dispatcher() {
  byte p;
  bool idle;
end:
  do
  :: SECTION {
      lock(lock4Lists);
      atomic {
        idle = itemList == 0;
        for (p : 0 .. PATHS - 1) { idle = idle && myItemList[p] == ABSENT };
        p = 0;
        dispatcherTested = idle;
        dispatchLost = false
      };
      unlockLists()
    };
    if
    :: !idle ->
      copyItemsToMyItemList();
      getItemSizes();
      getItemSizes(); /* a second later */
      moveReadyItems()
    :: else ->
      idle = false;
      lock(dispatchLock);
      atomic { dispatcherTested = false; dispatcherWaits = true; unlock(dispatchLock) };
endWait:
      atomic {
        if
        :: dispatcherWoken -> dispatcherWoken = false
#ifdef EARLY /* as condition waits may */
        :: dispatcherWaits
#endif
        fi;
        dispatcherWaits = false
      };
      lock(dispatchLock);
      unlock(dispatchLock)
    fi
  od
}

/* The last one that is waited for has the line logged. */
inline report(a) {
  atomic {
    assert(awaited[a] > 0);
    awaited[a]--;
    if
    :: awaited[a] == 0 -> logged[a]++; assert(logged[a] == 1)
    :: else
    fi
  }
}

/* When nothing else goes on any more, the longest wait is over for all that wait. */
active proctype LongestWait() {
end:
  do
  :: atomic {
      timeout ->
#ifdef LOCKS
      assert(lock4Lists == NOBODY && dispatchLock == NOBODY && scannerLock == NOBODY);
#endif
      assert(!dispatcherWaits || itemList == 0 || dispatchLost);
      assert(scannersWait == 0 || !scannable || scannerLost);
      dispatcherWoken = dispatcherWaits;
      scannersWoken = scannersWoken | scannersWait
    }
  od
}

/* A path for which there was no daemon, or no scanner any more. */
inline leave(p) {
  batch[s] = WITHOUT(batch[s], p);
  if
  :: tries[p] == RETURNS -> tell(p)
  :: else -> waiting = waiting | BIT(p)
  fi
}

proctype PatientScanner(byte s) {
  byte p, n;
  bool daemonWasGone, failed;
end:
  do
  :: atomic { !scannable -> scannersTested = scannersTested | BIT(s); scannerLost = false };
    lock(scannerLock);
    atomic {
      scannersTested = WITHOUT(scannersTested, s);
      scannersWait = scannersWait | BIT(s);
      unlock(scannerLock)
    };
endWait:
    atomic {
      if
      :: scannersWoken & BIT(s) -> scannersWoken = WITHOUT(scannersWoken, s)
#ifdef EARLY
      :: scannersWait & BIT(s)
#endif
      fi;
      scannersWait = WITHOUT(scannersWait, s)
    };
    lock(scannerLock);
    unlock(scannerLock)
  :: scannable ->
    SECTION {
      lock(lock4Lists);
      for (p : 0 .. PATHS - 1) {
        if
        :: (scannableList & BIT(p)) && n < BATCH ->
          atomic { assert(promoted & BIT(p)); promoted = WITHOUT(promoted, p); batch[s] = batch[s] | BIT(p); n++ };
          scannableList = WITHOUT(scannableList, p)
        :: else
        fi
      };
      p = 0;
      n = 0;
      scannable = scannableList != 0;
      unlockLists()
    };
    if
    :: batch[s] != 0 ->
      atomic {
        noted = noted | BIT(s);
        abortOf[s] = openAbort;
        if :: openAbort != 0 -> awaited[openAbort]++ :: else fi
      };
      launched = launched | BIT(s);
      /* One after the other, as long as there is a daemon and the scanner is not ended. */
      for (p : 0 .. PATHS - 1) {
        atomic {
          if
          :: (batch[s] & BIT(p)) && daemonUp && !failed && !(killed & BIT(s)) ->
            scanned[p] = change[p];
            batch[s] = WITHOUT(batch[s], p);
            tries[p] = 0
#if DEATHS > 0
          :: (batch[s] & BIT(p)) && !daemonUp && !failed && !(killed & BIT(s)) -> leave(p)
          :: (batch[s] & BIT(p)) && !daemonUp && !failed && !(killed & BIT(s)) -> daemonWasGone = true
#endif
#if KILLS > 0
          :: (batch[s] & BIT(p)) && kills < KILLS && !failed -> failed = true; kills++
#endif
          :: else
          fi
        }
      };
      p = 0;
      launched = WITHOUT(launched, s);
      atomic { noted = WITHOUT(noted, s); assert(!(killed & BIT(s)) || abortOf[s] != 0) };
      if
      :: abortOf[s] != 0 ->
        atomic {
          for (p : 0 .. PATHS - 1) {
            if
            :: batch[s] & BIT(p) -> batch[s] = WITHOUT(batch[s], p); tell(p)
            :: else
            fi
          };
          p = 0
        };
        report(abortOf[s])
      :: else ->
        atomic {
          assert(batch[s] == 0 || daemonWasGone || failed);
          for (p : 0 .. PATHS - 1) {
            if
            :: batch[s] & BIT(p) -> leave(p)
            :: else
            fi
          };
          p = 0
        }
      fi;
      atomic { killed = WITHOUT(killed, s); abortOf[s] = 0; daemonWasGone = false; failed = false }
    :: else
    fi
  od
}

#if ABORTS > 0
inline endScanners() { killed = killed | launched }

/* The command of the menu, on the main thread. */
proctype User() {
  byte a, p;
  for (a : 1 .. ABORTS) {
    SECTION {
      lock(lock4Lists);
      atomic {
        for (p : 0 .. PATHS - 1) {
          if
          :: myItemList[p] != ABSENT -> myItemList[p] = ABSENT; tell(p)
          :: else
          fi
        };
        p = 0
      };
      unlockLists()
    };
    SECTION {
      lock(lock4Lists);
      atomic {
        for (p : 0 .. PATHS - 1) {
          if
          :: scannableList & BIT(p) ->
            scannableList = WITHOUT(scannableList, p);
            promoted = WITHOUT(promoted, p);
            tell(p)
          :: else
          fi
        };
        p = 0;
        scannable = false
      };
      unlockLists()
    };
    atomic {
      for (p : 0 .. PATHS - 1) {
        if
        :: waiting & BIT(p) -> waiting = WITHOUT(waiting, p); tell(p)
        :: else
        fi
      };
      p = 0
    };
    atomic {
      openAbort = a;
      awaited[a] = 1;
      for (p : 0 .. SCANNERS - 1) {
        if
        :: (noted & BIT(p)) && abortOf[p] == 0 -> abortOf[p] = a; awaited[a]++
        :: else
        fi
      };
      p = 0
    };
    endScanners();
    endScanners(); /* by name: also what began meanwhile */
    openAbort = 0;
    report(a)
  }
}
#endif

#if DEATHS > 0
proctype Daemon() {
  byte deaths;
end:
  do
  :: deaths < DEATHS ->
    atomic { daemonUp = false; deaths++ };
    daemonUp = true
  od
}
#endif

#if DEATHS > 0 || KILLS > 0
/* Looks now and then while any path waits. Those that the daemon had when it went have turns. */
proctype Health() {
  byte p, taken;
end:
  do
  :: atomic {
      daemonUp && waiting != 0 ->
      if
      :: taken = waiting
      :: select(p : 0 .. PATHS - 1); taken = waiting & BIT(p)
      fi;
      for (p : 0 .. PATHS - 1) {
        if
        :: taken & BIT(p) -> tries[p]++; assert(tries[p] <= RETURNS)
        :: else
        fi
      };
      p = 0;
      waiting = waiting & ~taken;
      onTheirWay = taken
    };
    if
    :: taken != 0 ->
      SECTION {
        lock(lock4Lists);
        atomic { itemList = itemList | taken; onTheirWay = 0; taken = 0 };
        unlockLists()
      };
      signalDispatchLock()
    :: else
    fi
  od
}
#endif

init {
  byte p;
  atomic {
    for (p : 0 .. PATHS - 1) { run Producer(p) };
    for (p : 0 .. SCANNERS - 1) { run PatientScanner(p) };
    p = 0;
    run Dispatcher();
#if ABORTS > 0
    run User();
#endif
#if DEATHS > 0
    run Daemon();
#endif
#if DEATHS > 0 || KILLS > 0
    run Health();
#endif
  }
}

#if PATHS > 1
#define ALL_SETTLED (reported[0] == CHANGES && SETTLED(0) && reported[1] == CHANGES && SETTLED(1))
#else
#define ALL_SETTLED (reported[0] == CHANGES && SETTLED(0))
#endif
#define ALL_LOGGED (ABORTS == 0 || logged[ABORTS] == 1)
ltl inTheEnd { <> [] (ALL_SETTLED && ALL_LOGGED) }
