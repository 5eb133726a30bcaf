// SPDX-License-Identifier: Apache-2.0
// Draws the page and starts what keeps it up to date.
import {api} from "./api.js";
import {brand_view, load_customer} from "./brand.js";
import {h, render} from "./dom.js";
import {form_view, load_form} from "./form.js";
import {changed, draw_with, store, trying} from "./store.js";
import {follow_timeline, running_request, seconds_text, timeline_view} from "./timeline.js";
import {load_world, world_view} from "./world.js";

const SETTINGS = {name: "settings", set: "/cloud/aerolink/batch_set", read: "/cloud/aerolink/batch_get"};
const BRAND = {name: "brand", set: "/whiteboard/set_config", read: "/whiteboard/get_config"};

const VIEWS = {
  settings: {title: "Settings", draw: () => form_view(SETTINGS), load: () => load_form(SETTINGS)},
  brand: {title: "White-label", draw: () => [form_view(BRAND), brand_view()],
    load: () => Promise.all([load_form(BRAND), load_customer()])},
  timeline: {title: "Timeline", draw: timeline_view, load: async () => {}},
  world: {title: "World", draw: world_view, load: load_world},
};

function view_from_address() {
  const name = location.hash.slice(1);
  return name in VIEWS ? name : "settings";
}

function show_view() {
  store.view = view_from_address();
  document.title = `${VIEWS[store.view].title} · ${store.router?.model ?? "router"} console`;
  trying(VIEWS[store.view].load);
}

function header() {
  const running = running_request();
  return h("header", {key: "header"},
    h("a", {class: "skip", href: "#main", onclick: skip}, "Skip to the content"),
    h("div", {class: "name"}, h("h1", {}, "Router console"),
      store.router && h("span", {class: "model"}, store.router.model),
      h("span", {class: store.timeline.connected ? "live" : "live off"},
        store.timeline.connected ? "live" : "not connected")),
    h("nav", {"aria-label": "Views"}, Object.entries(VIEWS).map(([name, view]) =>
      h("a", {href: `#${name}`, "aria-current": name === store.view ? "page" : undefined}, view.title))),
    running && h("p", {class: "running", key: "running"},
      h("span", {class: "spinner", "aria-hidden": "true"}),
      `${running.path} has been running for ${seconds_text(running.seconds)}`,
      running.waits > 0 && `, of which ${running.waits} s were spent waiting`));
}

function skip(event) {
  event.preventDefault();
  document.getElementById("main").focus();
}

function page() {
  return [
    header(),
    h("main", {id: "main", tabindex: "-1", key: "main"},
      store.error && h("p", {class: "problem", role: "alert", key: "error"}, store.error),
      store.router ? VIEWS[store.view].draw() : h("p", {}, "Waiting for the router…")),
    h("p", {class: "unseen", "aria-live": "polite", key: "said"}, store.said),
  ];
}

async function wait_for_router() {
  while (!store.router) {
    await trying(async () => {
      store.router = await api.router();
    });
    if (!store.router) await new Promise((resolve) => setTimeout(resolve, 500));
  }
  show_view();
}

draw_with(() => render(document.body, page()));
addEventListener("hashchange", show_view);
changed();
follow_timeline();
wait_for_router();
