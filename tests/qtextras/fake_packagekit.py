'''PackageKit on the system bus as Torvel's updater meets it, for python-dbusmock.

Parameters (JSON, all optional):
  updates    the package ids GetUpdates lists, Torvel's and others'
  error      [code, text]: GetUpdates ends in this PackageKit error instead
  hang       true: GetUpdates never finishes
  install    "success", or [code, text]: UpdatePackages ends in this error
UpdatePackages succeeds only for the only-trusted flag and one id GetUpdates listed; anything else ends in
an error naming what it was given, so a wrong call cannot pass as a success.'''

import dbus

BUS_NAME = 'org.freedesktop.PackageKit'
MAIN_OBJ = '/org/freedesktop/PackageKit'
MAIN_IFACE = 'org.freedesktop.PackageKit'
SYSTEM_BUS = True
TRANSACTION_IFACE = 'org.freedesktop.PackageKit.Transaction'

EXIT_SUCCESS = 1
EXIT_FAILED = 2
ONLY_TRUSTED = 1 << 1


def _finish(transaction, error=None):
    if error:
        transaction.EmitSignal(TRANSACTION_IFACE, 'ErrorCode', 'us', [dbus.UInt32(error[0]), error[1]])
    transaction.EmitSignal(TRANSACTION_IFACE, 'Finished', 'uu',
                           [dbus.UInt32(EXIT_FAILED if error else EXIT_SUCCESS), dbus.UInt32(0)])


def load(mock, parameters):
    count = [0]

    def get_updates(transaction, _flags):
        if parameters.get('hang'):
            return
        if parameters.get('error'):
            _finish(transaction, parameters['error'])
            return
        for package_id in parameters.get('updates', []):
            transaction.EmitSignal(TRANSACTION_IFACE, 'Package', 'uss', [dbus.UInt32(2), package_id, ''])
        _finish(transaction)

    def update_packages(transaction, flags, ids):
        ids = [str(i) for i in ids]
        if int(flags) != ONLY_TRUSTED or len(ids) != 1 or ids[0] not in parameters.get('updates', []):
            _finish(transaction, [4, 'unexpected UpdatePackages(%d, %s)' % (flags, ids)])
            return
        transaction.Set(TRANSACTION_IFACE, 'Percentage', dbus.UInt32(40))
        outcome = parameters.get('install', 'success')
        _finish(transaction, None if outcome == 'success' else outcome)

    # Methods given as functions run as they are; dbusmock hands them the object and the arguments.
    def create_transaction(main):
        count[0] += 1
        path = '%s/%d' % (MAIN_OBJ, count[0])
        main.AddObject(path, TRANSACTION_IFACE, {'Percentage': dbus.UInt32(101)}, [
            ('SetHints', 'as', '', lambda self, hints: None),
            ('Cancel', '', '', lambda self: None),
            ('GetUpdates', 't', '', get_updates),
            ('UpdatePackages', 'tas', '', update_packages),
        ])
        return dbus.ObjectPath(path)

    mock.AddMethod(MAIN_IFACE, 'CreateTransaction', '', 'o', create_transaction)
