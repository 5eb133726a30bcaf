# SPDX-License-Identifier: Apache-2.0
"""What bench/performance measures, judges and writes."""
