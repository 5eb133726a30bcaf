// SPDX-License-Identifier: Apache-2.0
// What the page asks its server.

async function answer_of(response) {
  const answer = await response.json();
  if (!response.ok) throw new Error(answer.error ?? `status ${response.status}`);
  return answer;
}

const get = async (path) => answer_of(await fetch(path));

const post = async (path, body, signal) => answer_of(await fetch(path, {
  method: "POST",
  headers: {"Content-Type": "application/json"},
  body: JSON.stringify(body),
  signal,
}));

const query = (names, parameters) => new URLSearchParams([...names.map((name) => ["name", name]), ...parameters]);

export const api = {
  router: () => get("/api/router"),
  keys: (route) => get(`/api/keys?${query([], [["route", route]])}`),
  settings: (route, names) => get(`/api/settings?${query(names, [["route", route]])}`),
  plan: (route, request, signal) => post("/api/plan", {route, request}, signal),
  matrix: (route, request, signal) => post("/api/matrix", {route, request}, signal),
  push: (route, request) => post("/api/push", {route, request}),
  world: () => get("/api/world"),
  change_world: (name, value) => post("/api/world", {name, value}),
  customer: () => get("/api/customer"),
};
