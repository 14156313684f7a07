// Converts between a file's text and the text in an editor that uses only LF.
import { counted } from '../elements.js';

/** @param {string} content */
export function forEditor(content) {
  return { text: content.replaceAll('\r\n', '\n'), hasCrLf: content.includes('\r\n') };
}

/**
 * The text to write: every line ends like the first line that was read.
 * @param {string} text @param {boolean} hasCrLf
 */
export const forFile = (text, hasCrLf) => (hasCrLf ? text.replaceAll('\n', '\r\n') : text);

/**
 * False if writing the text would not give the bytes that were read: they were not UTF-8, or the
 * editor cannot hold them.
 * @param {string} content
 */
export function isFaithful(content) {
  const { text, hasCrLf } = forEditor(content);
  return !/[\uFFFD\0]/.test(content) && !text.includes('\r') && forFile(text, hasCrLf) === content;
}

/** @param {string} content */
export function describe(content) {
  const bytes = new TextEncoder().encode(content).length;
  const lines = content === '' ? 0 : content.replace(/\n$/, '').split('\n').length;
  const ends = content.includes('\r\n') ? 'CRLF' : 'LF';
  return [counted(bytes, 'byte'), counted(lines, 'line'), ...(lines > 1 ? [ends] : [])].join(' · ');
}
