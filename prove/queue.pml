/*
 * The protocol of PrioritizedQueue: two producers and up to two consumers, three
 * requests of every order of priorities, every interleaving of their steps.
 *
 * FIRST and SECOND name the consumers: taker, peeker, looker or nobody. Waiters
 * are woken for no reason and cancelled, DISTURBANCES times in all: the sleep of
 * a consumer that nothing but such a chance would end is a deadlock in the end.
 */

#define REQUESTS 3
#define CONSUMERS 2
#define DISTURBANCES 2
#define NONE REQUESTS /* a null request, and the marks of a cancelled call */
#define FREE 0

/* The fields of the queue. A thread holds a mutex by its _pid. */
byte requests[REQUESTS + 1];
byte size;
byte mutex = FREE;
bool headShown;
bool asleep[CONSUMERS]; /* the waiters of notEmpty */

/* The consumers' own lock, which peekers hold from the look to the pop. */
byte turn = FREE;

/* What the queue is judged by. */
byte rank[REQUESTS];
byte arrival[REQUESTS];
byte arrived;
bool waiting[REQUESTS];
byte served;
byte shown = NONE; /* since the last removal */
byte disturbances = DISTURBANCES;

#define BEFORE(a, b) \
  (rank[a] < rank[b] || (rank[a] == rank[b] && arrival[a] < arrival[b]))

/* Whenever the mutex is let go: nobody sleeps while a request waits, a shown head is there, and
 * all is in order behind it. */
inline release() {
  assert(mutex == _pid);
  assert(size == 0 || (!asleep[0] && !asleep[1]));
  assert(size > 0 || !headShown);
  assert(size < 2 || headShown || BEFORE(requests[0], requests[1]));
  assert(size < 3 || BEFORE(requests[1], requests[2]));
  mutex = FREE
}

/* MutexGuard */
inline lock(which) { atomic { which == FREE -> which = _pid } }
inline unlock() { d_step { release() } }

/* pthread_cond_wait(&notEmpty, &mutex): lets the mutex go and falls asleep in one step, and takes
 * it again, also to be cancelled. Who is still asleep when all is served is cancelled too. */
inline wait() {
  d_step { release(); asleep[me] = true }
  if
  :: !asleep[me]
  :: d_step { asleep[me] && disturbances > 0 -> disturbances--; asleep[me] = false }
  :: d_step { disturbances > 0 || served == REQUESTS ->
       if
       :: served < REQUESTS -> disturbances--
       :: else
       fi;
       asleep[me] = false;
       cancelled = true }
  fi;
  lock(mutex)
}

inline waitForRequest() {
  do
  :: size == 0 && !cancelled -> wait()
  :: else -> break
  od
}

/* headShown = true, and headOf() */
inline showHead() {
  headShown = true;
  d_step {
    assert(size > 0);
    request = requests[0];
    assert(shown == NONE || shown == request);
    shown = request
  }
}

/* requests->popFront() */
inline removeHead() {
  d_step {
    assert(size > 0);
    request = requests[0];
    assert(waiting[request]);
    waiting[request] = false;
    assert(shown == NONE || shown == request);
    i = 0;
    do
    :: i < REQUESTS ->
       assert(shown == request || !waiting[i] || BEFORE(request, i));
       i++
    :: else -> break
    od;
    shown = NONE;
    served++;
    size--;
    i = 0;
    do
    :: i < size -> requests[i] = requests[i + 1]; i++
    :: else -> requests[i] = 0; i = 0; break
    od
  };
  headShown = false
}

inline push(pushed) {
  lock(mutex);
  d_step { /* requests->insert() */
    arrival[pushed] = arrived;
    arrived++;
    waiting[pushed] = true;
    at = headShown;
    do
    :: at < size && rank[requests[at]] <= rank[pushed] -> at++
    :: else -> break
    od;
    i = size;
    do
    :: i > at -> requests[i] = requests[i - 1]; i--
    :: else -> break
    od;
    requests[at] = pushed;
    size++;
    at = 0;
    i = 0
  };
  if
  :: size == 1 -> d_step { asleep[0] = false; asleep[1] = false } /* pthread_cond_broadcast() */
  :: else
  fi;
  unlock()
}

inline tryWait() {
  lock(mutex);
  request = NONE;
  if
  :: size == 0
  :: else -> showHead()
  fi;
  unlock()
}

inline top() {
  lock(mutex);
  request = NONE;
  waitForRequest();
  if
  :: cancelled
  :: else -> showHead()
  fi;
  unlock()
}

inline pop() {
  lock(mutex);
  removeHead();
  unlock()
}

inline recvWaitAndDequeue() {
  lock(mutex);
  waitForRequest();
  if
  :: cancelled
  :: else -> removeHead()
  fi;
  unlock()
}

proctype producer(byte next, end) {
  byte at, i;
  do
  :: next < end -> push(next); next++
  :: else -> break
  od
}

/* Consumers. A cancelled one begins anew, for the thread that takes its place. */

proctype taker(bit me) {
  byte request, i;
  bool cancelled;
  do
  :: recvWaitAndDequeue();
     if
     :: cancelled && served == REQUESTS -> break
     :: else -> cancelled = false
     fi
  od
}

proctype peeker(bit me) {
  byte request, i, seen;
  bool cancelled;
  do
  :: lock(turn);
     tryWait();
     if
     :: request == NONE -> top()
     :: else
     fi;
     if
     :: !cancelled ->
        seen = request;
        pop();
        assert(request == seen)
     :: else
     fi;
     turn = FREE;
     if
     :: cancelled && served == REQUESTS -> break
     :: else -> cancelled = false; seen = 0
     fi
  od
}

/* Shows a head, once in a life, and leaves it to others. */
proctype looker(bit me) {
  byte request;
  bool cancelled;
  top()
}

proctype nobody(bit me) { skip }

init {
  byte i;
  atomic {
    do
    :: i < REQUESTS ->
       if
       :: rank[i] = 0
       :: rank[i] = 1
       :: rank[i] = 2
       fi;
       i++
    :: else -> break
    od;
    run producer(0, 2);
    run producer(2, 3);
    run FIRST(0);
    run SECOND(1)
  };
  _nr_pr == 1;
  assert(served == REQUESTS && size == 0 && mutex == FREE && turn == FREE)
}
