/* A model of the exchange with the flasher: the sender, the receive loop of either link, the page with
 * its timers, and the handheld, which may go silent at any point. scripts/check-model walks
 * through every order of their steps.
 *
 * Names are those of link/: upgrade_transfer, receive, stall, transfer_buffers. What the code does
 * under one lock is one step here, and so is what one thread alone can see. Times are left out: a
 * timer that is set may fire at once, a wait with a limit may end at once. Two pieces stand for all
 * that comes from the file; the held-back block has its two halves.
 */

#define FILE_PIECES 2
#define ALL_PIECES 4 /* the last two are the held-back block */

mtype = {None, ReadyToken, SendPieceToken};        /* in ReceiveBuffer and on the cable */
mtype = {Open, Sent, Stalled};                     /* TransferVerdict */
mtype = {SetPiece, KillPiece, SetAnswer, KillAnswer, EndSent, EndStalled}; /* to the page */
mtype = {StartByte, Size, Piece};                  /* to the handheld */
mtype = {NoPage, UpgradeDonePage, UpgradeErrorPage, CommunicationErrorPage};

chan cable = [1] of {mtype};       /* what the driver has accepted and not yet sent */
chan answers = [2] of {mtype};     /* what has arrived at the port and was not read */
chan page = [8] of {mtype};

/* state/state.h */
mtype ReceiveBuffer = None;
mtype Verdict = Open;
bool Serial;                       /* SerialLinkSelected */
bool ReceiveCameUp, ReceiveRunning, StopReceive, TransferAborted, SenderRuns;
bool FlasherAnswered;
byte BytesRemaining = ALL_PIECES;  /* in pieces */
byte SenderLooks;                  /* since the loop counts them: 0, 1, 2 and more */
bool LinkHandle = true, ReceiveHandles = true; /* ReceiveEvent and ReceiveThread */
bool Buffers;                      /* TransferBufferA and B, ImageFile */
byte linkClosings, receiveClosings, releases;

/* What must hold at every instant, so that a wizard that is killed leaves what the next run needs. */
bool Record = true, Note;

/* The handheld. */
byte Received;                     /* pieces */
bool Silent, Stuck;                 /* answers nothing; takes nothing any more */

/* Whether anything goes wrong: the handheld, the cable, or a timer that fires. */
#ifdef UNDISTURBED
#define MayFail false
#else
#define MayFail true
#endif

byte handedOver;                   /* pieces that the driver has accepted whole */
mtype shown = NoPage;
bool left, senderLeft;             /* the run is over; the sender has gone */

bool halfBegun;                    /* the handheld has erased the block that starts it */

/* ---- link/port */

/* A write stays pending while the driver takes no more. It ends when the cable takes it or,
 * cancelled, with StopReceive, the port's closing or its own limit. */
inline WriteLink(what, ok) {
    if
    :: atomic { LinkHandle && !StopReceive -> pending = true }
    :: atomic { !LinkHandle || StopReceive -> ok = false }
    fi;
    if
    :: pending ->
        if
        :: atomic { !Stuck -> cable ! what; ok = true }
        :: StopReceive || !LinkHandle || Stuck -> ok = false
        fi;
        pending = false
    :: else -> skip
    fi
}

/* Whoever comes first closes, once. */
inline CloseLinkPort() {
    atomic {
        if
        :: LinkHandle -> LinkHandle = false; linkClosings++
        :: else -> skip
        fi
    }
}

/* ---- link/transfer_buffers */

inline FreeTransferBuffers() {
    atomic {
        if
        :: Buffers -> Buffers = false; releases++
        :: else -> skip
        fi
    }
}

inline AbandonTransfer() {
    TransferAborted = true;
    if
    :: !SenderRuns -> FreeTransferBuffers()
    :: else -> skip
    fi
}

/* ---- link/receive and link/usb_receive: the loop */

inline CloseReceiveHandles() {
    atomic {
        if
        :: ReceiveHandles -> ReceiveHandles = false; receiveClosings++
        :: else -> skip
        fi
    }
}

active proctype Loop() {
    mtype token;
    if
    :: Serial = true
    :: Serial = false
    fi;
    atomic { ReceiveRunning = true; ReceiveCameUp = true }
    do
    :: atomic { StopReceive || !LinkHandle -> break }
    :: atomic { !Serial && MayFail -> break } /* a driver that refuses */
    :: atomic { nempty(answers) -> assert(ReceiveHandles); ReceiveBuffer = None }
        answers ? token;
        if
        :: StopReceive -> break
        :: else -> atomic { ReceiveBuffer = token; SenderLooks = 0 }
        fi;
        /* LeaveTokenToSender; on USB what comes next replaces it at any time */
        (!Serial || SenderLooks >= 2 || StopReceive)
    od;
    ReceiveRunning = false;
    if
    :: !Serial -> CloseLinkPort(); CloseReceiveHandles()
    :: else -> skip
    fi
}

/* ---- link/upgrade_transfer: the sender */

#define Look SenderLooks = (SenderLooks < 2 -> SenderLooks + 1 : 2)

inline AwaitToken(token, ok) {
    Look;
    do
    :: ReceiveBuffer == token -> break
    :: else ->
        if
        :: TransferAborted -> ok = false; break
        :: else -> Look
        fi
    od;
    if
    :: ok -> SenderLooks = 2; ok = !TransferAborted
    :: else -> skip
    fi
}

/* Whoever touches the buffers or the file has them. */
#define UseBuffers assert(Buffers)

inline RecordBytesRemaining(remaining, ok) {
    atomic {
        ok = Verdict == Open;
        if
        :: ok -> BytesRemaining = remaining
        :: else -> skip
        fi
    }
    if
    :: ok && remaining <= 2 -> Note = true
    :: else -> skip
    fi
}

active proctype Sender() {
    bool ok = true, pending = false;
    byte remaining = ALL_PIECES;
    ReceiveCameUp;
    SenderRuns = true;
    ReceiveBuffer = None;
    WriteLink(StartByte, ok);
    ok = true; /* a device that got less stays silent */
    page ! SetAnswer;
    AwaitToken(ReadyToken, ok);
    if
    :: !ok -> goto leave
    :: else -> skip
    fi;
    FlasherAnswered = true;
    page ! KillAnswer;
    Buffers = true;
    WriteLink(Size, ok);
    ok = true;
    page ! SetPiece;
    /* SendPiecesFromFile */
    do
    :: true ->
        AwaitToken(SendPieceToken, ok);
        if
        :: !ok -> goto leave
        :: else -> skip
        fi;
        page ! SetPiece;
        ReceiveBuffer = None;
        if
        :: remaining <= 2 -> break
        :: else -> skip
        fi;
        UseBuffers;
        if
        :: MayFail -> goto leave /* the file cannot be read any more */
        :: true -> skip
        fi;
        WriteLink(Piece, ok);
        if
        :: ok -> handedOver++
        :: else -> skip
        fi;
        remaining--;
        RecordBytesRemaining(remaining, ok);
        if
        :: !ok -> goto leave
        :: else -> skip
        fi
    od;
    /* SendHeldBackBlock */
    UseBuffers;
    WriteLink(Piece, ok);
    if
    :: !ok -> goto leave
    :: else -> handedOver++
    fi;
    AwaitToken(SendPieceToken, ok);
    if
    :: !ok -> goto leave
    :: else -> skip
    fi;
    UseBuffers;
    WriteLink(Piece, ok);
    if
    :: !ok -> goto leave
    :: else -> handedOver++
    fi;
    /* AwaitOutputSent */
    do
    :: TransferAborted || StopReceive -> goto leave
    :: empty(cable) -> break
    od;
    /* MarkSent */
    atomic {
        ok = Verdict == Open;
        if
        :: ok -> Verdict = Sent
        :: else -> skip
        fi
    }
    if
    :: !ok -> goto leave
    :: else -> skip
    fi;
    assert(handedOver == ALL_PIECES && empty(cable)); /* no false success */
    page ! KillPiece;
    Record = false;
    Note = false;
    page ! EndSent;
leave:
    SenderRuns = false;
    if
    :: TransferAborted -> FreeTransferBuffers()
    :: else -> skip
    fi;
    senderLeft = true
}

/* ---- the page, on the main thread, and what follows it */

inline EndStalledTransfer() {
    atomic {
        stalled = Verdict == Open;
        if
        :: stalled -> Verdict = Stalled
        :: else -> skip
        fi
    }
    if
    :: stalled -> AbandonTransfer(); StopReceive = true; result = EndStalled
    :: else -> skip
    fi
}

inline ReleaseLink() {
    StopReceive = true;
    CloseLinkPort();
    !ReceiveRunning;
    CloseReceiveHandles()
}

active proctype Page() {
    bool pieceTimer = false, answerTimer = false, stalled = false;
    mtype result = None;
    ReceiveCameUp;
    do
    :: result != None -> break
    :: else ->
        if
        :: page ? SetPiece -> pieceTimer = true
        :: page ? KillPiece -> pieceTimer = false
        :: page ? SetAnswer -> answerTimer = true
        :: page ? KillAnswer -> answerTimer = false
        :: page ? EndSent -> result = EndSent
        :: pieceTimer && MayFail -> pieceTimer = false; EndStalledTransfer()
        :: answerTimer && MayFail -> answerTimer = false; EndStalledTransfer()
        fi
    od;
    if
    :: result == EndSent ->
        shown = UpgradeDonePage;
        /* TearDownTransfer */
        AbandonTransfer();
        StopReceive = true;
        CloseLinkPort();
        !ReceiveRunning;
        CloseReceiveHandles()
    :: else ->
        shown = (BytesRemaining <= 2 -> CommunicationErrorPage : UpgradeErrorPage);
        if
        :: Serial -> ReleaseLink()
        :: else -> skip
        fi
    fi;
    /* LeaveTransfer */
    AbandonTransfer();
    ReleaseLink();
    if /* the wait has a limit */
    :: !SenderRuns -> skip
    :: MayFail -> skip
    fi;
    AbandonTransfer();
    assert(!LinkHandle && !ReceiveHandles);
    assert(linkClosings == 1 && receiveClosings == 1);
    /* The page is the right one for what the handheld is. */
    assert(shown != UpgradeDonePage || handedOver == ALL_PIECES);
    assert(!(shown == UpgradeErrorPage && halfBegun));
    assert(shown == UpgradeDonePage || Record);
    left = true
}

/* ---- the handheld: silent from any point on, by a cut, a dead line or its own end */

active proctype Handheld() {
    mtype what;
end:
    do
    :: MayFail -> Stuck = true; break
    :: cable ? what ->
        if
        :: Silent -> skip
        :: MayFail -> Silent = true
        :: !Silent && what == StartByte -> answers ! ReadyToken
        :: !Silent && what == Size -> answers ! SendPieceToken
        :: atomic { !Silent && what == Piece && Received < ALL_PIECES ->
               halfBegun = Received >= FILE_PIECES;
               Received++ }
            if
            :: Received < ALL_PIECES -> answers ! SendPieceToken
            :: else -> skip
            fi
        fi
    od
}

/* Whoever of sender and page is the last one out frees the buffers. */
active proctype LastOneOut() {
    left && senderLeft;
    assert(!Buffers && releases <= 1)
}

/* A wizard may be killed at any instant: what it leaves tells the next run what the handheld is. */
ltl what_is_left { [] ((Received < ALL_PIECES && !(Verdict == Sent)) -> Record) &&
                   [] ((halfBegun && Record) -> Note) }

/* Whatever happens, the run and its sender come to their ends. */
#ifdef UNDISTURBED
ltl it_ends { <> (left && senderLeft && shown == UpgradeDonePage) }
#else
ltl it_ends { <> (left && senderLeft) }
#endif
