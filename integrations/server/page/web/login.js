// SPDX-License-Identifier: MIT
// The form for the access token.
import { $ } from './dom.js';

/** Back to the page that sent here; only to one of this server. */
function destination() {
  const wanted = new URL(new URLSearchParams(location.search).get('to') ?? '/', location.href);
  return wanted.origin === location.origin ? wanted.pathname : '/';
}

$('form').addEventListener('submit', async (event) => {
  event.preventDefault();
  let problem = 'The server cannot be reached.';
  try {
    const body = new URLSearchParams({ token: $('token').value });
    const answer = await fetch('/login', { method: 'PUT', body });
    if (answer.ok) return location.replace(destination());
    if (answer.status === 401) problem = 'This is not the right token.';
    else problem = `The server refuses (${answer.status}).`;
  } catch {
    // The server is away.
  }
  $('problem').textContent = problem;
  $('token').select();
});
