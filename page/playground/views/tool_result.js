// Shows a tool's answer: text, images, structured content, or the failure.
import { duration, element } from '../elements.js';

/** @typedef {import('../../wendra-host.js').McpCallResult} McpCallResult */
/** @typedef {import('../../wendra-host.js').McpImage} McpImage */

/** @param {McpImage} image */
function picture({ mimeType, data }) {
  const image = element('img', { src: `data:${mimeType};base64,${data}`, alt: mimeType });
  const caption = element('figcaption', { textContent: mimeType });
  const figure = element('figure', {}, image, caption);
  image.decode().then(
    () => (caption.textContent += ` · ${image.naturalWidth} × ${image.naturalHeight} pixels`),
    () => image.replaceWith(element('p', { className: 'problem', textContent: 'is no picture' })),
  );
  return figure;
}

/** @param {McpCallResult} result */
function parts(result) {
  if (result.error !== undefined) {
    return [element('p', { className: 'problem', textContent: result.error })];
  }
  const { text, images = [], structuredContent, isError } = result;
  const words = text === '' ? [] : [
    element('pre', { className: isError ? 'stderr' : '', textContent: text }),
  ];
  const structured = structuredContent === undefined ? [] : [
    element('h4', { textContent: 'structuredContent' }),
    element('pre', {
      className: 'structured',
      textContent: JSON.stringify(structuredContent, null, 2),
    }),
  ];
  const shown = [...words, ...images.map(picture), ...structured];
  const nothing = element('p', { className: 'note', textContent: 'An empty answer.' });
  return shown.length > 0 ? shown : [nothing];
}

/** @param {McpCallResult} result */
const verdictOf = ({ error, ...rest }) =>
  error !== undefined ? 'no answer' : 'isError' in rest ? 'the tool failed' : 'ok';

/**
 * Puts a call on top of the list. Returns a function that shows the answer.
 * @param {HTMLElement} list @param {Record<string, unknown>} args
 */
export function addCall(list, args) {
  const verdict = element('span', { className: 'verdict', textContent: 'waiting…' });
  const sent = element('code', { className: 'brief', textContent: JSON.stringify(args) });
  const entry = element('li', {}, element('div', { className: 'title' }, sent, verdict));
  list.prepend(entry);
  const start = performance.now();
  return (/** @type {McpCallResult} */ result) => {
    const words = verdictOf(result);
    entry.className = words === 'ok' ? 'ok' : 'failed';
    verdict.textContent = `${words}, ${duration(performance.now() - start)}`;
    entry.append(...parts(result));
  };
}
