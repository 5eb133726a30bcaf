// SPDX-License-Identifier: Apache-2.0
// The brand that the router has: its customer file and its logo, as they are stored.
import {api} from "./api.js";
import {h} from "./dom.js";
import {changed, store} from "./store.js";

export async function load_customer() {
  store.customer = {...await api.customer(), asked: Date.now()};
  changed();
}

function logo() {
  const {logo_bytes: bytes, logo_is_image: is_image, asked} = store.customer;
  if (bytes === null) return h("p", {class: "quiet"}, "There is no logo.");
  return [
    is_image && h("img", {class: "logo", src: `/api/logo?${asked}`, alt: "The stored logo"}),
    h("p", {class: "quiet"}, `/www/src/static/images/custmer.png, ${bytes} bytes`, !is_image && ", which is no image"),
  ];
}

export function brand_view() {
  if (!store.customer) return null;
  return h("section", {class: "brand", key: "stored", "aria-label": "As stored"},
    h("h2", {}, "The brand as it is stored"),
    h("div", {class: "sides"},
      h("div", {class: "side"}, h("h3", {}, "Customer file"),
        store.customer.file === null ? h("p", {class: "quiet"}, "There is no /etc/wbf/customer.") :
          h("pre", {id: "customer-file", tabindex: "0", "aria-label": "Customer file"}, store.customer.file)),
      h("div", {class: "side"}, h("h3", {}, "Logo"), logo())));
}
