// SPDX-License-Identifier: Apache-2.0
// All that the page shows is in this one object; whoever changes it calls changed.
export const store = {
  view: "settings",
  router: null,  // {model, url, models, boots}
  error: "",     // what could not be asked
  forms: {},     // route: see form.js
  timeline: {events: [], connected: false, kinds: {}, text: "", secrets: false, rows: 0, whole: {}},
  now: Date.now(),
  world: null,
  world_seconds: null, // as it is being typed
  world_busy: "",
  world_said: "",
  customer: null,
  said: "",      // for who cannot see: what just happened
};

let draw = () => {};
let is_due = false;

export function draw_with(work) {
  draw = work;
}

export function changed() {
  if (is_due) return;
  is_due = true;
  queueMicrotask(() => {
    is_due = false;
    draw();
  });
}

export function say(text) {
  store.said = text;
  changed();
}

export async function trying(work) {
  try {
    await work();
    if (store.error) store.error = "";
  } catch (error) {
    if (error.name !== "AbortError") store.error = error.message;
  }
  changed();
}
