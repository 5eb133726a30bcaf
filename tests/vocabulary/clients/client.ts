// SPDX-License-Identifier: Apache-2.0
// One push by the types that openapi-typescript makes of the document. Usage: node client.js BASE-URL
import type { components, paths } from "./openapi.js";

declare const process: { argv: string[] };

type Path = "/cloud/aerolink/batch_set";
type Push = components["schemas"]["CloudBatchSetRequest"];
type Reply = paths[Path]["post"]["responses"][200]["content"]["application/json"];

const path: Path = "/cloud/aerolink/batch_set";
const push: Push = { "2g_ssid": "Typed", "2g_key": "short", lan_ip: "192.168.70.1" };
// @ts-expect-error: a setting is a text
const wrong: Push = { "2g_ssid": 5 };
void wrong;

const answer = await fetch(process.argv[2] + path, {
    method: "POST",
    headers: { "Content-Type": "application/json" },
    body: JSON.stringify(push),
});
const reply = (await answer.json()) as Reply;
console.log(JSON.stringify([answer.status, reply.result, reply.response]));
