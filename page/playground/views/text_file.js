// What stands between a file's text and an editor that knows LF only.
import { counted } from '../elements.js';

/** @param {string} content */
export function forEditor(content) {
  return { text: content.replaceAll('\r\n', '\n'), hasCrLf: content.includes('\r\n') };
}

/**
 * The text to write: every line ends as the first one that was read did.
 * @param {string} text @param {boolean} hasCrLf
 */
export const forFile = (text, hasCrLf) => (hasCrLf ? text.replaceAll('\n', '\r\n') : text);

/**
 * False when writing the text would not give the bytes that were read: they were no UTF-8, or the
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
