// SPDX-License-Identifier: Apache-2.0
// Validates OpenAPI documents. Usage: node validate.mjs DOCUMENT...
import { Validator } from "@seriousme/openapi-schema-validator";

let isValid = true;
for (const file of process.argv.slice(2)) {
    const validator = new Validator();
    const { valid, errors } = await validator.validate(file);
    isValid &&= valid;
    console.log(`${file}: ${valid ? `valid ${validator.version}` : JSON.stringify(errors, null, 2)}`);
}
process.exit(isValid ? 0 : 1);
