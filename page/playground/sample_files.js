// The files of the stand-in, so that the user of an ordinary browser has files to open.
const kHome = 'C:\\Users\\developer';

const kNotes = [
  'These notes live in memory, and end with the page.',
  '',
  'In Wendra the same view reads and writes real files.',
  '',
].join('\r\n');

const kPicture = `<svg xmlns="http://www.w3.org/2000/svg" width="320" height="180">
  <rect width="320" height="180" fill="#dbe9f6"/>
  <circle cx="236" cy="62" r="30" fill="#f6c453"/>
  <path d="M0 180 92 74l58 62 44-46 126 90z" fill="#3f6f9f"/>
  <path d="M0 180 70 128l84 30 62-26 104 48z" fill="#2c4f74"/>
</svg>
`;

export const kSampleFiles = {
  [`${kHome}\\notes.txt`]: kNotes,
  [`${kHome}\\picture.svg`]: kPicture,
};
