// SPDX-License-Identifier: Apache-2.0
// Generates the Python types of a request from its JSON Schema. Usage: node generate.mjs SCHEMA NAME >FILE
import { readFileSync } from "node:fs";
import { InputData, JSONSchemaInput, FetchingJSONSchemaStore, quicktype } from "quicktype-core";

const [schema, name] = process.argv.slice(2);
const source = new JSONSchemaInput(new FetchingJSONSchemaStore());
await source.addSource({ name, schema: readFileSync(schema, "utf8") });
const inputData = new InputData();
inputData.addInput(source);
const { lines } = await quicktype({ inputData, lang: "python", rendererOptions: { "python-version": "3.7" } });
console.log(lines.join("\n"));
