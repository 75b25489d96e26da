'''UPower 1.90 and later, as python-dbusmock's upower template has it plus the charge-threshold state on one
battery, battery_BAT0, whose threshold is on (the desktop's "preserve battery health" switch).'''

import dbus
from dbusmock.templates import upower

BUS_NAME = upower.BUS_NAME
MAIN_OBJ = upower.MAIN_OBJ
MAIN_IFACE = upower.MAIN_IFACE
SYSTEM_BUS = True


def load(mock, parameters):
    upower.load(mock, parameters)
    mock.AddObject('/org/freedesktop/UPower/devices/battery_BAT0', upower.DEVICE_IFACE, {
        'NativePath': dbus.String('BAT0', variant_level=1),
        'Type': dbus.UInt32(2, variant_level=1),
        'PowerSupply': dbus.Boolean(True, variant_level=1),
        'IsPresent': dbus.Boolean(True, variant_level=1),
        'Percentage': dbus.Double(95.0, variant_level=1),
        'ChargeThresholdSupported': dbus.Boolean(True, variant_level=1),
        'ChargeThresholdEnabled': dbus.Boolean(True, variant_level=1),
        'ChargeStartThreshold': dbus.UInt32(0, variant_level=1),
        'ChargeEndThreshold': dbus.UInt32(100, variant_level=1),
    }, [
        ('EnableChargeThreshold', 'b', '',
         'self.Set("org.freedesktop.UPower.Device", "ChargeThresholdEnabled", dbus.Boolean(args[0]))'),
    ])
