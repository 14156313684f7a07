// What only Windows and the real control can answer: the questions, what we expect, and where the
// expectation comes from. The answers come from windows_facts.exe and from facts.mjs.
const kDocumentation = "Microsoft's documentation";
const kReports = 'public reports';

export const kQuestions = {
  'ControlFacts.RedirectOfNavigate': {
    question: 'Is a redirect of a navigation by the host user-initiated?',
    expected: 'yes, and yes after the redirect',
    source: `${kDocumentation} for the call, ${kReports} for the redirect`,
  },
  'ControlFacts.RedirectOfScript': {
    question: 'Is a redirect of a navigation by a script user-initiated?',
    expected: 'no, and no after the redirect',
    source: `${kDocumentation}: a script without a gesture`,
  },
  'ControlFacts.RedirectOfClickedLink': {
    question: 'Is a redirect of a clicked link user-initiated?',
    expected: 'yes, and yes after the redirect',
    source: `${kReports}; the program is right in either case`,
  },
  'ControlFacts.ReloadByTheHost': {
    question: 'Is a reload by the host user-initiated?',
    expected: 'yes',
    source: kDocumentation,
  },
  'ControlFacts.TimeToRegisterAScript': {
    question: 'How long does the registration of a script for new documents take?',
    expected: 'some milliseconds; up to 1.5 s on some machines',
    source: kReports,
  },
  'ControlFacts.EventsOfADownload': {
    question: 'Which events come for a download?',
    expected: 'starting, completed',
    source: 'Chromium, through the stand-in',
  },
  'ControlFacts.EventsOfACancelledMailLink': {
    question: 'Which events come for a mail link that the host cancels?',
    expected: 'starting; perhaps completed',
    source: kDocumentation,
  },
  'ControlFacts.TabInAPageWithoutElements': {
    question: 'How often does Tab ask to leave a page in which nothing takes the focus?',
    expected: 'once; a report says: without an end',
    source: kReports,
  },
  'ControlFacts.LargestScript': {
    question: 'Which is the largest script that ExecuteScript runs, of 1, 4, 16, 32 and 64 MiB?',
    expected: '64 MiB',
    source: 'Chromium: 60 MiB were run; no limit is documented',
  },
  'ControlFacts.SourceBeforeTheFirstPage': {
    question: 'What is the source of a control without a page?',
    expected: "succeeds: 'about:blank'",
    source: kDocumentation,
  },
  'ControlFacts.VersionOfTheRuntime': {
    question: 'Which runtime does the loader find?',
    expected: 'the version at the head of this report',
    source: kDocumentation,
  },
  'SystemFacts.TimeOfASmallPost': {
    question: 'How long does a small POST to this machine take?',
    expected: 'about 1 ms; 44 ms if head and body leave in two packets',
    source: 'measured under Wine: 44 ms',
  },
  'SystemFacts.SocketsOfWinHttpAreInheritable': {
    question: 'Can a child process inherit sockets of WinHTTP?',
    expected: 'WinHTTP adds no inheritable handle',
    source: 'none; the program lists the handles of each child, so it does not matter',
  },
  'SystemFacts.CancelIoExOfABlockedRead': {
    question: 'Does CancelIoEx end a read of a pipe that blocks in another thread?',
    expected: 'yes, within some milliseconds',
    source: kDocumentation,
  },
  'SystemFacts.CancelSynchronousIoOfABlockedRead': {
    question: 'Does CancelSynchronousIo end it?',
    expected: 'yes, within some milliseconds',
    source: kDocumentation,
  },
  'SystemFacts.QuitMessageWhileMoving': {
    question: 'What becomes of a quit message while a window is moved?',
    expected: 'the loop ends at once, and the message is still there',
    source: 'a modal loop should post it again; Wine swallows it',
  },
  'SystemFacts.JobInsideAJob': {
    question: 'Can a process be in two jobs?',
    expected: 'both are taken',
    source: `${kDocumentation}: nested jobs since Windows 8`,
  },
  'SystemFacts.SearchOnADriveWithoutAMedium': {
    question: 'Does a search on a drive without a medium show a box?',
    expected: 'no box on current systems',
    source: `${kDocumentation}; the program forbids such boxes`,
  },
  'SystemFacts.DpiOnEachMonitor': {
    question: "Which DPI does a window have on each monitor?",
    expected: 'the scale of the monitor times 96',
    source: kDocumentation,
  },
  'cmd: a protected percent sign': {
    question: 'Does %%cd:~,% give a percent sign in an argument of a batch file?',
    expected: 'the argument arrives as it was given',
    source: 'public descriptions of cmd.exe',
  },
  'cmd: with delayed expansion set in the registry': {
    question: 'The same, with DelayedExpansion switched on in the registry?',
    expected: 'the argument arrives as it was given',
    source: 'public descriptions of cmd.exe',
  },
  'cmd: with extensions switched off in the registry': {
    question: 'The same, with EnableExtensions switched off in the registry?',
    expected: 'the argument arrives as it was given',
    source: 'public descriptions of cmd.exe',
  },
  'names for screen readers': {
    question: 'Which names do screen readers get for the controls of the prompt?',
    expected: 'a name for the field and for each button',
    source: "the controls' labels",
  },
};
