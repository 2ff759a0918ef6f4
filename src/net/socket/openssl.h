#pragma once

#include <QString>

#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <memory>

/// What OpenSSL's functions create, owned.

template <auto function>
struct OpenSslFree
{
    template <typename T>
    void operator()(T *object) const
    {
        function(object);
    }
};

template <typename T, auto function>
using OpenSslPointer = std::unique_ptr<T, OpenSslFree<function>>;

using SslPointer = OpenSslPointer<SSL, SSL_free>;
using BioPointer = OpenSslPointer<BIO, BIO_free>;
using X509Pointer = OpenSslPointer<X509, X509_free>;
using X509StoreContextPointer = OpenSslPointer<X509_STORE_CTX, X509_STORE_CTX_free>;
using GeneralNamesPointer = OpenSslPointer<GENERAL_NAMES, GENERAL_NAMES_free>;

/// The first error of OpenSSL's queue, in its words; empties the queue.
QString takeOpenSslError();
