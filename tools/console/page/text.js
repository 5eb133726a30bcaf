// SPDX-License-Identifier: Apache-2.0
// Small things about texts.

const encoder = new TextEncoder();

export const bytes_in = (text) => encoder.encode(text).length;

// The text with each byte as one character, as the router's patterns see it.
const as_bytes = (text) => String.fromCharCode(...encoder.encode(text));

// Whether the pattern of a check takes the text; null when this browser cannot tell.
export function passes(pattern, text) {
  try {
    return new RegExp(pattern, "m").test(as_bytes(text));
  } catch {
    return null;
  }
}

export const plural = (count, one, many) => `${count} ${count === 1 ? one : many}`;

// The command line that sends the request.
export function curl_line(url, request) {
  const body = JSON.stringify(request).replaceAll("'", "'\\''");
  return `curl -s ${url} -H 'Content-Type: application/json' -d '${body}'`;
}
